#pragma once
// Connecting with the outcome shown in the main window's status label.

#include "base/account.h"

#include <atomic>

/// OpenSocket to the profile's POP3 server. Returns the socket, or -1 with the outcome in lblStatus. Any thread.
int OpenMailConnection(MailProfile &profile, void *ignored, int kind);

/// The same for the server string `text`. `inThread` is not used: lblStatus is written under the library lock from
/// every thread. When `cancelled` becomes true, the attempt ends within 0.1 s, with -1 and without a word.
int OpenServerConnection(char const *text, int kind, int inThread, std::atomic<bool> const *cancelled = nullptr);
