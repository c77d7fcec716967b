#pragma once
// Downloading one message over POP3 (RFC 1939).

#include "base/account.h"

#include <cstddef>

/// Fetches message `number` whole with RETR. Returns a NUL-terminated buffer from malloc that the caller frees, null
/// when it could not be had whole. `length`, when not null, gets its bytes: a message may hold NULs. `lockHeld` tells
/// that the caller holds sessionLock; otherwise it is taken and posted here (the caller is then a callback of the
/// main thread). A profile whose connection was never made (serverSocket 0) is connected and logged in first. After a
/// lost connection serverSocket is -1.
char *getMessage(int number, MailProfile &profile, int lockHeld, size_t *length = nullptr);
