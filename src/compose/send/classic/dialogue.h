#pragma once
// What the two dialogues share: reply lines, and the end of a message.

#include "base/outcome.h"
#include "net/stream.h"

#include <functional>
#include <string>

/// Reads a reply line without its end, at most 10239 bytes of it. False when none came.
// kept: the text ends before the first byte above 127 or up to 20, as reply lines always did; the rest is dropped.
bool ReadReplyLine(Stream &stream, std::string &text);

/// kStopped, or kLost with the text that the user knows for it.
Outcome LossOfSending(Stream const &stream);

/// Calls `write` for the message, ends it with a dot, and gives the server a while to answer: a slow one is no
/// failure, its answer is to be read on for. False when the message did not get through; `dotSent`, unless null,
/// becomes true when the dot did.
bool SendText(Stream &stream, std::function<bool()> const &write, bool *dotSent = nullptr);

/// True for a final answer that says the message was taken.
// kept: SMTP's 250 and NNTP's 240 are both good, whoever says them.
bool IsTaken(std::string const &answer);
