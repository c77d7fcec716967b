#pragma once
// Checking mail: a POP3 session from the connection to its end. No toolkit.

#include "base/account.h"
#include "base/outcome.h"
#include "net/stream.h"

#include <string>

/// What a check tells while it runs, on its own thread and without locks but the account's sessionLock.
class CheckObserver {
  public:
    virtual ~CheckObserver() = default;

    /// The session is logged in; `fresh` messages are new to this run of the program (may be below 1).
    virtual void Counted(int64_t fresh) = 0;

    /// Message `number` of `count` is being listed. Leave mode only.
    virtual void Listing(int number, int count) = 0;

    /// A message for the list: its row text, and its number in the Inbox (`stored`) or on the server.
    virtual void Row(std::string const &text, bool stored, int32_t number) = 0;

    /// Something for the user that does not end the check.
    virtual void Say(std::string const &text) = 0;

    /// The session that Counted has started is over.
    virtual void Ended() = 0;
};

/// The whole session: a fresh connection, login, STAT, then new headers (leave on server) or all messages into the
/// Inbox (remove). Waits for sessionLock and clears checkWaiting. On any worker. Outcomes: kDone; those of OpenStream
/// and LogIn; kRefused without a text when the server does not count its messages; kRefused and kFailed with words on
/// the message that ended the check; kLost; kStopped within a second of `stopped` becoming true. After all of them
/// but a refused or failed connection, login and STAT, Counted and Ended were called. What was stored is on disk
/// before the server deletes any of it, and what the server deletes is on disk. The connection stays open after leave
/// mode, and after the end of a remove-mode session (RFC 1939 6 ends it with QUIT); it is closed after kLost,
/// kStopped and a refused login or STAT.
Outcome CheckMail(MailProfile &profile, CheckObserver &observer, StopPredicate const &stopped = {});
