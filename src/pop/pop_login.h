#pragma once
// Signing in to a POP3 server (RFC 1939).

#include "base/account.h"

/// Reads the greeting, sends USER and PASS. Returns 1 when the server took both; -1 otherwise, with the server's
/// words in lblStatus when the password was refused. The caller holds sessionLock.
int PopLogin(MailProfile &profile);

/// Closes the account's connection after it failed or fell silent (serverSocket -1) and says so in lblStatus. The
/// caller holds sessionLock.
void LoseConnection(ServerAccount &account);
