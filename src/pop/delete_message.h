#pragma once
// Deleting one message on a POP3 server (RFC 1939).

#include "base/account.h"
#include "base/outcome.h"
#include "net/stream.h"

/// Marks message `number` with DELE and ends the session with QUIT, which makes it real (RFC 1939 6); the connection
/// is closed whatever comes of it. QUIT goes out even after a refused DELE. The caller holds sessionLock and has a
/// connection that is logged in. Outcomes: kDone: the server has taken both; kRefused in the server's words; kLost
/// and kStopped: it is not known whether the message is still there when that was after DELE, else it is.
Outcome DeleteOnServer(MailProfile &profile, int32_t number, StopPredicate const &stopped);
