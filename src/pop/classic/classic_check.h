#pragma once
// Checking mail as it always was: USER, PASS, STAT, TOP, RETR and DELE by number.

#include "pop/check_mail.h"

/// The whole session: a fresh connection, login, STAT, then new headers (leave on server) or all messages into the
/// Inbox (remove). Waits for sessionLock and clears checkWaiting. On any worker. Outcomes: kDone; those of OpenStream
/// and LogIn; kRefused without a text when the server does not count its messages; kRefused and kFailed with words on
/// the message that ended the check; kLost; kStopped within a second of `stopped` becoming true. After all of them
/// but a refused or failed connection, login and STAT, Counted and Ended were called. What was stored is on disk
/// before the server deletes any of it, and what the server deletes is on disk. The connection stays open after leave
/// mode, and after the end of a remove-mode session (RFC 1939 6 ends it with QUIT); it is closed after kLost,
/// kStopped and a refused login or STAT.
Outcome ClassicCheckMail(MailProfile &profile, CheckObserver &observer, StopPredicate const &stopped);
