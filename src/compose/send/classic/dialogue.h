#pragma once
// What the two dialogues share: their losses, and the end of a message.

#include "base/outcome.h"
#include "net/stream.h"

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

/// The SMTP reply codes that mean something here; NNTP's are in news/session.
enum SmtpCode : int32_t { kSmtpOk = 250, kStartInput = 354 };

/// What the user sees of a reply line.
// kept: it ends before the first byte above 127 or up to 20, as the text of reply lines always did.
std::string ShownReply(std::string_view line);

/// kStopped, or kLost with the text that the user knows for it.
Outcome LossOfSending(Stream const &stream);

/// Calls `write` for the message, ends it with a dot, and gives the server a while to answer: a slow one is no
/// failure, its answer is to be read on for. False when the message did not get through; `dotSent`, unless null,
/// becomes true when the dot did.
bool SendText(Stream &stream, std::function<bool()> const &write, bool *dotSent = nullptr);

/// True for the code of a final answer that says the message was taken.
// kept: SMTP's 250 and NNTP's 240 are both good, whichever server says them.
bool IsTaken(int32_t code);
