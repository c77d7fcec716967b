#pragma once
// One command of POP3 (RFC 1939) and its reply, and signing in. No toolkit.

#include "base/outcome.h"
#include "net/stream.h"

#include <string>
#include <string_view>

/// What became of a command.
enum class PopReply {
    kOk,      ///< the server said "+OK", in letters of any case
    kRefused, ///< it said anything else
    kLost,    ///< the connection ended, failed, fell silent or dripped before the reply was whole
    kStopped  ///< the stream's stop predicate ended the wait
};

constexpr size_t kPopReplyWidth = 10240;
constexpr char kLostMailServer[] = "Lost the connection to the mail server";

/// Sends `command` up to its first line end and reads the reply line into `reply`, at most kPopReplyWidth - 1 bytes.
/// After kLost and kStopped the connection is of no more use; the caller closes it.
PopReply PopAsk(Stream &stream, std::string_view command, std::string &reply);

/// The same for a command that holds a secret: its copies are cleared.
PopReply PopAskSecretly(Stream &stream, std::string_view command, std::string_view secret, std::string &reply);

/// The outcome of a command: kDone; kRefused with the reply; kLost with kLostMailServer; kStopped.
Outcome OutcomeOf(PopReply result, std::string const &reply);

/// What a failed read of the stream means: kStopped, or kLost with kLostMailServer.
Outcome ReadFailure(Stream const &stream);

/// Reads the greeting, whatever it says, and sends USER and PASS. Outcomes: kDone; kRefused with the server's words
/// for a refused password and without a text for a refused name; kLost with kLostMailServer; kStopped. After all but
/// kDone the caller closes the connection.
Outcome LogIn(Stream &stream, std::string_view userName, std::string_view password);
