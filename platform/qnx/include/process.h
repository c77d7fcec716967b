#pragma once
// Running another program.

enum { P_WAIT = 0, P_NOWAIT = 1 };

/// Runs `path` (used as given) with the arguments up to the null, the environment and descriptors 1 and 2 inherited,
/// no input and every other descriptor closed. P_WAIT returns its wait status, P_NOWAIT its process id; -1 with errno
/// when it did not start.
int spawnl(int mode, char const *path, char const *arg0, ...) __attribute__((sentinel));
