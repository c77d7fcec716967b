#pragma once
// The SMTP dialogue that delivers one message (RFC 5321), over a connection that is open.

#include "base/outcome.h"
#include "net/stream.h"

#include <functional>
#include <string>
#include <string_view>
#include <vector>

/// The addresses of a To or Cc text, one for each entry. Empty entries and those of one byte are stepped over.
std::vector<std::string> RecipientsOf(std::string_view list);

struct SmtpDelivery {
    Stream &stream;
    std::string sender;                                   ///< address
    std::vector<std::string> recipients;                  ///< addresses
    std::function<bool()> writeMessage;                   ///< header and body to the stream; false when that failed
    std::function<void(std::string const &)> const &tell; ///< a recipient was refused; returns when it was read

    bool finalDotSent = false; ///< from here on the server may have the message
};

/// Goes through the dialogue up to QUIT, whose answer is not waited for. Outcomes: kDone; kRefused with the server's
/// answer to DATA or to the message, its lines separated by LF; kLost; kStopped.
// kept: the greeting and the answers to HELO and MAIL are not judged. A server that does not want to go on refuses a
// later command as well.
Outcome DeliverOverSmtp(SmtpDelivery &delivery);
