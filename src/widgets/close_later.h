#pragma once
// Leaving an account's connection without waiting for the thread that uses it.

#include "base/account.h"

/// Closes the account's connection, if any, without a word to the server, and sets serverSocket to `afterwards`: at
/// once when nothing uses it, else on a worker when that is over. Never waits. Under the library lock.
void CloseWhenFree(ServerAccount &account, int32_t afterwards = -1);
