#pragma once
// The SMTP dialogue that delivers one message (RFC 5321), over a connection that is open.

#include <atomic>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

/// The addresses of a To or Cc text, one for each entry. Empty entries and those of one byte are stepped over.
std::vector<std::string> RecipientsOf(std::string_view list);

enum class SmtpEnd {
    kSent,    ///< the server has taken the message
    kRefused, ///< it has refused DATA or the message, see the answer
    kLost     ///< the connection ended, failed or fell silent
};

struct SmtpDelivery {
    int socket;
    std::string sender;                  ///< address
    std::vector<std::string> recipients; ///< addresses
    /// Writes header and body to the socket; false when that failed.
    std::function<bool()> writeMessage;
    /// Tells the person about a recipient that was refused; returns when that was read.
    std::function<void(std::string const &)> alert;
    std::atomic<bool> const &cancelled;

    std::string answer = {};   ///< the last answer, its lines separated by LF
    bool finalDotSent = false; ///< from here on the server may have the message
};

/// Goes through the dialogue up to QUIT, whose answer is not waited for. The greeting and the answers to HELO and
/// MAIL are read and not judged: a server that does not want to go on refuses a later command as well.
SmtpEnd DeliverOverSmtp(SmtpDelivery &delivery);
