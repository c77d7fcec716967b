#pragma once
// The text of an outgoing mail: header fields, wrapped text, signature, attachments. Readers of this system's mail
// know its form, which is not quite that of RFC 2046: see WriteMessageBody.

#include "compose/send/message_sink.h"
#include "mime/part_headers.h"

#include <ctime>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

/// Everything a message is made of. The header fields hold no line breaks (FieldValue).
struct OutgoingMessage {
    std::string date, boundary;
    std::string fullName, address; ///< of the sender
    std::string to, cc, subject;
    std::string text;
    bool hasSignature = false;
    std::string signature;
    std::vector<PartHeaders const *> parts; ///< the attachments in their order, bodies encoded
};

/// `text` without CR and LF, as it goes into a header field.
std::string FieldValue(std::string_view text);

/// The time as ctime writes it, without its line end: "Sat Nov 21 06:13:21 2026".
std::string DateText(time_t when);

/// The delimiter of a message's parts: "----Corvanta-<process>:<seconds>".
std::string BoundaryText(time_t when);

/// Writes the header fields, each ended by CR LF; a CC field only when there is a Cc text. The empty line after them
/// comes with the body.
void WriteMessageHeaders(OutgoingMessage const &message, MessageSink &sink);

/// Writes all that follows the header fields: the MIME header when there are attachments, "\n\n", the text wrapped at
/// the first blank from column 71 on, the signature, the attachments. A delimiter line is the boundary itself, and
/// none closes the last part. `progress` is told how far the text is: 10 to 100.
void WriteMessageBody(OutgoingMessage const &message, MessageSink &sink, std::function<void(int)> const &progress);
