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

/// One check of the account, in the way that this face is bound to: classic_check.h or standard/check.h. Waits for
/// sessionLock and clears checkWaiting. On any worker. Outcomes: kDone; those of OpenStream and of signing in;
/// kRefused and kFailed with words on what ended the check; kLost; kStopped within a second of `stopped` becoming
/// true. What was stored is on disk before the server deletes any of it.
Outcome CheckMail(MailProfile &profile, CheckObserver &observer, StopPredicate const &stopped = {});

/// Binds CheckMail to the standard way. Once, at the start; without it checking is classic.
void CheckTheStandardWay();
