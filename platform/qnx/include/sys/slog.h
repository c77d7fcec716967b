#pragma once
// The system logger, which on Linux is syslog (and the journal that reads it).

#include <cstdarg>

constexpr int _SLOG_SETCODE(int major, int minor) { return major * (1 << 20) + minor; }

enum {
    _SLOG_SHUTDOWN,
    _SLOG_CRITICAL,
    _SLOG_ERROR,
    _SLOG_WARNING,
    _SLOG_NOTICE,
    _SLOG_INFO,
    _SLOG_DEBUG1,
    _SLOG_DEBUG2
};

/// Sends one line to the logger, cut at 10,500 bytes, its control characters escaped then. Thread-safe. A severity
/// becomes the syslog priority of the same meaning, both debug severities LOG_DEBUG. Returns the line's length, -1 on
/// an error.
int vslogf(int code, int severity, char const *format, va_list arguments) __attribute__((format(printf, 3, 0)));
int slogf(int code, int severity, char const *format, ...) __attribute__((format(printf, 3, 4)));
