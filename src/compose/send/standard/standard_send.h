#pragma once
// Sending so that others can read it: the message as RFC 5322 and MIME say, over today's SMTP. The Outbox holds what
// waits, Sent what went.

#include "compose/send/send.h"

#include <string>

/// CheckDraft: every address must be one, and there must be one.
Outcome StandardCheck(Draft const &draft);

/// Send. The whole message is in the Outbox, safe on disk, before the server is asked; it stays there with the reason
/// when it does not go, and moves to Sent when it does. A stop before the end of the message takes it back.
SendResult StandardSend(Draft const &draft, SendProgress const &progress);

/// What became of the messages that waited.
struct WaitingResult {
    int sent = 0, left = 0;
    std::string problem; ///< of the first that did not go
};

/// Sends what waits in the profile's Outbox, in its order, until one fails for a reason that concerns all: no
/// connection, no sign-in. Messages that may have gone before a kill are left alone. On a worker, without locks.
WaitingResult SendWaiting(std::string const &profile, SendProgress const &progress);
