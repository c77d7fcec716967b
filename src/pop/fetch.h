#pragma once
// Fetching a message or its header over POP3 (RFC 1939) on a connection that is logged in. No toolkit.

#include "base/outcome.h"
#include "net/stream.h"

#include <string>

struct FetchedMessage {
    Outcome outcome;
    std::string text;  ///< as its author wrote it, with CR LF; it may hold NULs. Empty unless the outcome is kDone
    bool asked = true; ///< false when there was no connection to ask on
    bool whole = true; ///< false when more of it may be on the server: it must not be deleted there
};

/// Fetches message `number` with RETR. The size that the reply names counts when the end mark follows it; a mark that
/// comes more than two bytes early ends the message after two seconds of silence, and `whole` is false. Outcomes:
/// kDone; kRefused with the server's words, and the next command can be sent; kFailed when it could not be kept
/// (disk), likewise; kLost with kLostMailServer and kStopped, and the caller closes the connection.
FetchedMessage FetchMessage(Stream &stream, int number);

struct FetchedHeader {
    Outcome outcome;
    std::string text; ///< the header block with its end mark, cut at the size that the reply names or at 10,000 bytes
};

/// Fetches the header of message `number` with TOP. Outcomes as FetchMessage, without kFailed.
FetchedHeader FetchHeader(Stream &stream, int number);
