#include "compose/send/standard/text_part.h"

#include "base/text.h"
#include "mime/base64.h"

#include <algorithm>

namespace {

constexpr size_t kColumns = 76;      ///< of a flowed line (RFC 3676 4.2 says at most 78)
constexpr size_t kLongestLine = 996; ///< RFC 5322 2.1.1, with room for a stuffed blank
constexpr size_t kEncodedLine = 76;  ///< RFC 2045 6.7
constexpr std::string_view kSignature = "-- ";

bool IsContinuation(char byte) { return (static_cast<unsigned char>(byte) & 0xc0) == 0x80; }

/// How many bytes of `text` fit `columns` characters.
size_t BytesOf(std::string_view text, size_t columns) {
    size_t at = 0;
    for (; at < text.size(); at++)
        if (!IsContinuation(text[at]) && columns-- == 0)
            break;
    return at;
}

/// Where to break a line that is too long: after the last blank that fits, else after the first one. The text's size
/// for a line without a blank.
size_t BreakIn(std::string_view text) {
    size_t const fits = BytesOf(text, kColumns - 1);
    if (fits == text.size())
        return text.size();
    size_t blank = text.rfind(' ', fits);
    // A blank at the very start would leave an empty line.
    if (blank == text.npos || text.find_first_not_of(' ') > blank)
        blank = text.find(' ', fits);
    return blank == text.npos ? text.size() : std::min(text.size(), text.find_first_not_of(' ', blank));
}

/// A line that nothing may break at a blank, broken where it must be, between characters.
size_t HardBreakIn(std::string_view text) {
    size_t at = std::min(text.size(), kLongestLine);
    while (at > 0 && at < text.size() && IsContinuation(text[at]))
        at--;
    return at ? at : std::min(text.size(), kLongestLine);
}

void PutLine(std::string &out, std::string_view line) {
    // What would be read as a quote or a stuffed line, and what mail stores change (RFC 3676 4.4).
    if (line.starts_with(' ') || line.starts_with('>') || line.starts_with("From "))
        out += ' ';
    out += line;
    out += "\r\n";
}

void PutQuote(std::string &out, std::string_view line) {
    for (; line.size() > kLongestLine; line.remove_prefix(HardBreakIn(line)))
        out.append(line.substr(0, HardBreakIn(line))).append("\r\n");
    // A blank at its end would join it with the next one.
    while (line.ends_with(' '))
        line.remove_suffix(1);
    out.append(line).append("\r\n");
}

void PutParagraph(std::string &out, std::string_view line) {
    if (line == kSignature) {
        out.append(line).append("\r\n");
        return;
    }
    while (line.ends_with(' '))
        line.remove_suffix(1);
    while (true) {
        size_t const end = std::min(BreakIn(line), line.size() > kLongestLine ? HardBreakIn(line) : line.size());
        PutLine(out, line.substr(0, end));
        line.remove_prefix(end);
        if (line.empty())
            return;
    }
}

std::string WithoutControls(std::string_view line) {
    std::string kept;
    for (char const byte : line)
        if (static_cast<unsigned char>(byte) >= ' ' || byte == '\t')
            if (byte != 0x7f)
                kept += byte;
    return kept;
}

std::string QuotedPrintable(std::string_view text) {
    std::string out;
    size_t column = 0;
    for (size_t i = 0; i < text.size(); i++) {
        char const byte = text[i];
        if (text.substr(i, 2) == "\r\n") {
            out += "\r\n";
            column = 0;
            i++;
            continue;
        }
        bool const lineEnds = i + 1 == text.size() || text.substr(i + 1, 2) == "\r\n";
        bool const blank = byte == ' ' || byte == '\t';
        // A dot by itself at a line's start has met relays that did not undo its doubling.
        bool const plain = (blank && !lineEnds) || (byte > ' ' && byte < 0x7f && byte != '=');
        size_t const width = plain ? 1 : 3;
        if (column + width > kEncodedLine - (lineEnds ? 0 : 1)) {
            out += "=\r\n";
            column = 0;
        }
        if (plain)
            out += byte;
        else
            out.append(1, '=').append(HexByte(byte));
        column += width;
    }
    return out;
}

std::string Base64(std::string_view text) {
    std::string out;
    for (size_t i = 0, column = 0; i < text.size(); i += 3) {
        size_t const count = std::min<size_t>(3, text.size() - i);
        auto const byte = [&](size_t at) { return at < count ? static_cast<unsigned char>(text[i + at]) : 0u; };
        unsigned const bits = byte(0) << 16 | byte(1) << 8 | byte(2);
        for (size_t at = 0; at < 4; at++)
            out += at <= count ? kBase64Alphabet[bits >> (18 - 6 * at) & 63] : '=';
        if ((column += 4) == kEncodedLine || i + 3 >= text.size()) {
            out += "\r\n";
            column = 0;
        }
    }
    return out;
}

} // namespace

std::string FlowedText(std::string_view text) {
    std::string out;
    while (!text.empty()) {
        size_t const end = std::min(text.find_first_of("\r\n"), text.size());
        std::string const line = WithoutControls(text.substr(0, end));
        if (line.starts_with('>'))
            PutQuote(out, line);
        else
            PutParagraph(out, line);
        text.remove_prefix(end);
        text.remove_prefix(text.starts_with("\r\n") ? 2 : text.empty() ? 0 : 1);
    }
    return out;
}

char const *NameOf(TransferEncoding encoding) {
    static constexpr char const *kNames[] = {"7bit", "8bit", "quoted-printable", "base64"};
    return kNames[static_cast<int>(encoding)];
}

TransferEncoding SmallestEncoding(std::string_view text, bool allow8bit) {
    auto const high = static_cast<size_t>(
        std::count_if(text.begin(), text.end(), [](char byte) { return static_cast<signed char>(byte) < 0; }));
    if (high == 0)
        return TransferEncoding::k7bit;
    if (allow8bit)
        return TransferEncoding::k8bit;
    // Three bytes for one, against four for three.
    return 2 * high > text.size() / 3 ? TransferEncoding::kBase64 : TransferEncoding::kQuotedPrintable;
}

std::string Encoded(std::string_view text, TransferEncoding encoding) {
    switch (encoding) {
    case TransferEncoding::kQuotedPrintable:
        return QuotedPrintable(text);
    case TransferEncoding::kBase64:
        return Base64(text);
    default:
        return std::string(text);
    }
}
