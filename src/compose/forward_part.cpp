#include "compose/forward_part.h"

#include "base/text.h"
#include "mime/base64.h"
#include "mime/lines.h"
#include "mime/part_content.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace {

constexpr size_t kSlice = 48 * 32768; ///< whole lines of 64 characters, so that slices join without a seam

struct FreeBytes {
    void operator()(char *bytes) const { free(bytes); }
};

bool Mentions(char const *field, char const *word) {
    // The search cuts the word to the field's length.
    return strlen(word) <= strlen(field) && FindNoCase(field, word, static_cast<int>(strlen(field)));
}

int HexDigit(char byte) {
    if (byte >= '0' && byte <= '9')
        return byte - '0';
    if (byte >= 'A' && byte <= 'F')
        return byte - 'A' + 10;
    return byte >= 'a' && byte <= 'f' ? byte - 'a' + 10 : -1;
}

/// Undoes quoted-printable (RFC 2045 6.7); what is no code stays as it is.
std::string DecodeQuotedPrintable(std::string_view in) {
    std::string out;
    out.reserve(in.size());
    for (size_t i = 0; i < in.size(); i++) {
        if (in[i] != '=') {
            out += in[i];
            continue;
        }
        size_t const end = in.find_first_not_of(" \t\r", i + 1);
        if (end != in.npos && in[end] == '\n') {
            i = end; // a soft line break
        } else if (i + 2 < in.size() && HexDigit(in[i + 1]) >= 0 && HexDigit(in[i + 2]) >= 0) {
            out += static_cast<char>(HexDigit(in[i + 1]) * 16 + HexDigit(in[i + 2]));
            i += 2;
        } else {
            out += '=';
        }
    }
    return out;
}

/// The characters of base64 lines; a line of its own that is a dot, say, would end the message. A CR stays only at
/// the end of a line.
std::string OnlyBase64(std::string_view in) {
    std::string out;
    out.reserve(in.size());
    bool carriageReturn = false;
    for (char const byte : in) {
        if (byte == '\n')
            out += carriageReturn ? "\r\n" : "\n";
        else if ((byte >= 'A' && byte <= 'Z') || (byte >= 'a' && byte <= 'z') || (byte >= '0' && byte <= '9') ||
                 byte == '+' || byte == '/' || byte == '=')
            out += byte;
        carriageReturn = byte == '\r';
    }
    return out;
}

/// A copy of `part` with another body.
PartHeaders *WithBody(PartHeaders const &part, std::string_view body) {
    PartHeaders copy = part;
    copy.body = body.data();
    copy.bodyLength = static_cast<int32_t>(body.size());
    return CopyPart(copy);
}

// kept: Base64Encode cuts the last group after its first character.
bool endsWhole = false;

/// The rest of the last group, of which Base64Encode has written the first character.
std::string RestOfGroup(std::string_view bytes) {
    auto const first = static_cast<unsigned char>(bytes[0]);
    if (bytes.size() == 1)
        return {kBase64Alphabet[first << 4 & 63], '=', '='};
    auto const second = static_cast<unsigned char>(bytes[1]);
    return {kBase64Alphabet[(first << 4 | second >> 4) & 63], kBase64Alphabet[second << 2 & 63], '='};
}

} // namespace

void EndBodiesWhole() { endsWhole = true; }

char *EncodeInSlices(size_t size, std::function<bool(char *, size_t)> const &read, int32_t &length) {
    if (size > kLargestAttachment)
        return nullptr;
    std::unique_ptr<char, FreeBytes> encoded(static_cast<char *>(calloc(1, size * 4 / 3 + size / 45 * 2 + 80)));
    if (!encoded)
        return nullptr;
    std::vector<char> slice(std::min(size, kSlice));
    size_t written = 0;
    for (size_t done = 0; done < size;) {
        size_t const now = std::min(size - done, kSlice);
        if (!read(slice.data(), now))
            return nullptr;
        written +=
            static_cast<size_t>(Base64Encode(encoded.get() + written, slice.data(), static_cast<int32_t>(now)));
        done += now;
    }
    written += strlen(encoded.get() + written);
    if (size_t const over = size % 3; endsWhole && over > 0) {
        size_t const last = (size - 1) % kSlice + 1; // bytes of the last slice
        std::string const rest = RestOfGroup({slice.data() + last - over, over});
        memcpy(encoded.get() + written, rest.data(), rest.size());
        written += rest.size();
    }
    length = static_cast<int32_t>(written);
    return encoded.release();
}

PartHeaders *ForwardedPart(PartHeaders const &part) {
    std::string_view const body(part.body ? part.body : "",
                                part.body && part.bodyLength > 0 ? static_cast<size_t>(part.bodyLength) : 0);
    if (Mentions(part.encoding, "base64")) {
        std::string const clean = OnlyBase64(body);
        return WithBody(part, clean);
    }
    std::string decoded;
    std::string_view plain = body;
    if (Mentions(part.encoding, "quoted-printable"))
        plain = decoded = DecodeQuotedPrintable(body);
    PartHeaders head = part;
    head.body = nullptr;
    head.bodyLength = 0;
    CopyText(head.encoding, "Base64");
    std::unique_ptr<PartHeaders, decltype(&FreePart)> copy(CopyPart(head), FreePart);
    if (!copy)
        return nullptr;
    int32_t length = 0;
    auto const take = [&plain](char *to, size_t count) {
        memcpy(to, plain.data(), count);
        plain.remove_prefix(count);
        return true;
    };
    char *const encoded = EncodeInSlices(plain.size(), take, length);
    if (!encoded)
        return nullptr;
    free(const_cast<char *>(copy->body));
    copy->body = encoded;
    copy->bodyLength = length;
    return copy.release();
}
