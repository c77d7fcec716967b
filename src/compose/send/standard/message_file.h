#pragma once
// An outgoing message as others can read it (RFC 5322, RFC 2045 to 2047, RFC 2231), written into a file of the
// Outbox.

#include "compose/send/standard/addresses.h"
#include "compose/send/standard/text_part.h"

#include <cstdint>
#include <ctime>
#include <string>
#include <string_view>
#include <vector>

struct AttachedFile {
    std::string name;        ///< UTF-8, without a path
    std::string type;        ///< "image/png"; empty: application/octet-stream
    std::string_view base64; ///< its bytes, encoded, in lines of any length
};

struct StandardMessage {
    Mailbox from;
    std::vector<Mailbox> to, cc, bcc;
    std::string subject, text; ///< UTF-8; the text with its signature
    std::string inReplyTo, references;
    std::string messageId; ///< without angle brackets
    time_t date = 0;
    std::vector<AttachedFile> files;
};

/// A new Message-ID without its angle brackets: random, at the domain of the sender's address (RFC 5536 3.1.3).
std::string NewMessageId(std::string_view address);

/// Writes the message, every line with CR LF, none over 998 bytes. Blind copies stand in a Bcc field, which never
/// leaves this machine. The text is 7bit or 8bit; EightBitToQuotedPrintable makes it fit a server that takes no 8bit.
/// False, with errno telling why, when the file took no more.
bool WriteMessage(StandardMessage const &message, int file);
