#include "compose/send/standard/fields.h"

#include "base/text.h"

#include <algorithm>
#include <gmime/gmime.h>
#include <memory>
#include <mutex>
#include <sys/random.h>

namespace {

void StartLibrary() {
    static std::once_flag once;
    std::call_once(once, g_mime_init);
}

struct Unref {
    void operator()(void *object) const { g_object_unref(object); }
};
template <class Object> using Owned = std::unique_ptr<Object, Unref>;

/// The library ends lines with LF.
std::string WithLineEnds(char const *text) {
    std::string lines;
    for (; *text; text++)
        lines += *text == '\n' ? std::string("\r\n") : std::string(1, *text);
    return lines;
}

std::string TextOf(GMimeObject *object) {
    char *const text = g_mime_header_list_to_string(g_mime_object_get_header_list(object), nullptr);
    std::string const lines = WithLineEnds(text);
    g_free(text);
    return lines;
}

/// Text from a field of a window: one line, whatever was pasted.
std::string OneLine(std::string_view text) {
    std::string line;
    for (char const byte : text)
        line += static_cast<unsigned char>(byte) < ' ' || byte == 0x7f ? ' ' : byte;
    return line;
}

void AddMailboxes(GMimeMessage *message, GMimeAddressType type, std::vector<Mailbox> const &mailboxes) {
    for (Mailbox const &mailbox : mailboxes)
        g_mime_message_add_mailbox(message, type, mailbox.name.empty() ? nullptr : OneLine(mailbox.name).c_str(),
                                   mailbox.address.c_str());
}

void SetField(GMimeMessage *message, char const *name, std::string const &value) {
    if (!value.empty())
        g_mime_object_set_header(GMIME_OBJECT(message), name, value.c_str(), nullptr);
}

std::string RandomDigits(size_t count) {
    std::string digits(count, '0');
    unsigned char bytes[64];
    if (getrandom(bytes, sizeof bytes, 0) == static_cast<ssize_t>(sizeof bytes))
        for (size_t i = 0; i < count && i < sizeof bytes; i++)
            digits[i] = "0123456789abcdefghijklmnopqrstuv"[bytes[i] & 31];
    return digits;
}

bool IsContinuation(char byte) { return (static_cast<unsigned char>(byte) & 0xc0) == 0x80; }

/// A file's name as a parameter: quoted when it is short ASCII, else in pieces (RFC 2231 3 and 4). No piece ends
/// within a character: some readers decode each by itself.
std::string FileNameParameter(std::string const &name) {
    constexpr size_t kPiece = 60;
    bool const plain = name.size() <= kPiece && std::all_of(name.begin(), name.end(), [](char byte) {
                           return byte >= ' ' && byte < 0x7f && byte != '"' && byte != '\\';
                       });
    if (plain)
        return " filename=\"" + name + "\"";
    std::string pieces, piece = "UTF-8''";
    int number = 0;
    auto const put = [&](bool last) {
        pieces += " filename*" + std::to_string(number++) + "*=" + piece + (last ? "" : ";\r\n");
        piece.clear();
    };
    for (size_t i = 0; i < name.size(); i++) {
        if (piece.size() >= kPiece && !IsContinuation(name[i]))
            put(false);
        auto const byte = static_cast<unsigned char>(name[i]);
        if ((byte | 0x20) >= 'a' && (byte | 0x20) <= 'z' && byte < 0x80)
            piece += name[i];
        else if ((byte >= '0' && byte <= '9') || byte == '.' || byte == '-' || byte == '_')
            piece += name[i];
        else
            piece.append(1, '%').append(HexByte(name[i]));
    }
    put(true);
    return pieces;
}

} // namespace

std::string NewMessageId(std::string_view address) {
    size_t const at = address.rfind('@');
    std::string const domain(at == address.npos || at + 1 == address.size() ? "localhost" : address.substr(at + 1));
    return RandomDigits(26) + "@" + domain;
}

// "=_" stands in no text that is quoted-printable (RFC 2045 6.7), and base64 has no "_".
std::string NewBoundary() { return "=_" + RandomDigits(30); }

std::string MessageFields(StandardMessage const &message) {
    StartLibrary();
    Owned<GMimeMessage> const fields(g_mime_message_new(TRUE));
    GDateTime *const date = g_date_time_new_from_unix_local(message.date);
    g_mime_message_set_date(fields.get(), date);
    g_date_time_unref(date);
    AddMailboxes(fields.get(), GMIME_ADDRESS_TYPE_FROM, {message.from});
    AddMailboxes(fields.get(), GMIME_ADDRESS_TYPE_TO, message.to);
    AddMailboxes(fields.get(), GMIME_ADDRESS_TYPE_CC, message.cc);
    g_mime_message_set_subject(fields.get(), OneLine(message.subject).c_str(), "utf-8");
    g_mime_message_set_message_id(fields.get(), message.messageId.c_str());
    SetField(fields.get(), "In-Reply-To", message.inReplyTo);
    SetField(fields.get(), "References", message.references);
    SetField(fields.get(), "User-Agent", "Corvanta/" CORVANTA_VERSION);
    SetField(fields.get(), "MIME-Version", "1.0");
    return TextOf(GMIME_OBJECT(fields.get()));
}

std::string BlindCopyField(StandardMessage const &message) {
    if (message.bcc.empty())
        return {};
    StartLibrary();
    Owned<GMimeMessage> const fields(g_mime_message_new(FALSE));
    AddMailboxes(fields.get(), GMIME_ADDRESS_TYPE_BCC, message.bcc);
    return TextOf(GMIME_OBJECT(fields.get()));
}

std::string FileFields(AttachedFile const &file) {
    bool const typed = file.type.find('/') != std::string::npos;
    return "Content-Type: " + (typed ? OneLine(file.type) : "application/octet-stream") +
           "\r\nContent-Disposition: attachment;\r\n" + FileNameParameter(OneLine(file.name)) +
           "\r\nContent-Transfer-Encoding: base64\r\n";
}
