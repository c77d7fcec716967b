#pragma once
// What is done with an account's mailbox between the checks, on the connection that the account keeps. A connection
// that the server has closed in between is made again, once. No toolkit; any thread but the main one. The caller
// holds sessionLock. Each ends within 0.1 s of `stopped` becoming true, with kStopped and the connection closed.

#include "base/account.h"
#include "pop/fetch.h"

/// Makes sure that the account has a connection that is logged in. Outcomes: kDone; those of OpenStream and LogIn,
/// and then there is no connection (a refused name has the text "The mail server refused the login" here).
Outcome EnsureLoggedIn(MailProfile &profile, StopPredicate const &stopped = {});

/// FetchMessage on the account's connection, after EnsureLoggedIn. After kLost there is no connection.
FetchedMessage FetchMessage(MailProfile &profile, int number, StopPredicate const &stopped = {});

/// Deletes message `number` and ends the session, which makes it real (RFC 1939 6); the connection is closed in any
/// case. Outcomes: kDone, and serverMessageCount is one less: the messages above `number` have a number one less from
/// now on; kRefused with the server's words, kLost and kStopped with words on where the message is: nothing has
/// changed here, and only the next check shows what there is; and those of EnsureLoggedIn.
Outcome DeleteOnServer(MailProfile &profile, int number, StopPredicate const &stopped = {});

/// Sends NOOP and waits for the reply, 10 s at most. Closes the connection when none comes. An account
/// without a connection is left alone.
void KeepAlive(MailProfile &profile, StopPredicate const &stopped = {});
