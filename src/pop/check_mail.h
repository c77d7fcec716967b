#pragma once
// Checking mail: a POP3 session on a thread of its own.

#include "Pt.h"
#include "base/account.h"

/// Starts a check of the open profile on a detached thread, after the alerts that a missing profile needs. Called
/// under the library lock by the check button, the timer and the opening of the Inbox.
void StartCheckMailThread();

/// The whole session: a fresh connection, login, STAT, then new headers (leave on server) or all messages into the
/// Inbox (remove). Rows go to `list`. Returns 1 after a complete session, -1 when login or STAT failed, the
/// negative socket when there was no connection. Called on a worker without the library lock.
int CheckMailSession(MailProfile &profile, PtWidget_t *list);

/// Fetches the header block of a message with TOP, from malloc, NUL-terminated; null when there is none. The caller
/// holds sessionLock.
char *TopHeader(MailProfile &profile, int number);

/// How many check sessions are running or waiting; the program waits for none at its end.
int RunningChecks();
