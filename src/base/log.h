#pragma once
// Messages to the system logger. Safe in every thread.

/// How many -v the command line had. Written during start-up only.
extern unsigned VerboseLevel;

/// Logs a line at severity 6 when `level` is below VerboseLevel: one -v shows level 0, two show 0 and 1.
void LogDebug(unsigned level, char const *format, ...) __attribute__((format(printf, 2, 3)));

/// Logs a line at severity 1, always.
void LogError(char const *format, ...) __attribute__((format(printf, 1, 2)));
