#include "base/utf8.h"

#include <algorithm>

namespace {

constexpr unsigned kLargest = 0x10FFFF;

bool IsTail(char byte) { return (static_cast<unsigned char>(byte) & 0xC0) == 0x80; }

/// The bytes that a sequence with this first byte has; 1 for a byte that starts none.
size_t SequenceBytes(char first) {
    auto const lead = static_cast<unsigned char>(first);
    return lead < 0xC2 || lead > 0xF4 ? 1 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
}

} // namespace

size_t CharacterBytes(std::string_view text) {
    if (text.empty())
        return 0;
    size_t const size = SequenceBytes(text[0]);
    if (size > text.size())
        return 1;
    unsigned code = static_cast<unsigned char>(text[0]) & (0xFFu >> (size + 1));
    for (char const byte : text.substr(1, size - 1)) {
        if (!IsTail(byte))
            return 1;
        code = code << 6 | (static_cast<unsigned char>(byte) & 0x3Fu);
    }
    bool const overlong = (size == 3 && code < 0x800) || (size == 4 && code < 0x10000);
    bool const surrogate = size == 3 && code >= 0xD800 && code < 0xE000;
    return overlong || surrogate || code > kLargest ? 1 : size;
}

size_t CharacterCount(std::string_view text) {
    size_t count = 0;
    for (; !text.empty(); count++)
        text.remove_prefix(CharacterBytes(text));
    return count;
}

std::string_view CutToCharacters(std::string_view text, size_t bytes) {
    if (text.size() <= bytes)
        return text;
    for (size_t back = 1; back <= 3 && back <= bytes; back++) {
        size_t const start = bytes - back;
        if (CharacterBytes(text.substr(start)) > back)
            return text.substr(0, start);
    }
    return text.substr(0, bytes);
}

std::string_view TextPart(std::string_view text) {
    std::string_view const front = text.substr(0, kTextPartBytes);
    size_t end = 0;
    for (size_t lines = 0; lines < kTextPartLines; lines++) {
        size_t const feed = front.find('\n', end);
        if (feed != front.npos)
            end = feed + 1;
        else if (front.size() == text.size())
            return text;
        else
            return end > 0 ? text.substr(0, end) : CutToCharacters(text, kTextPartBytes);
    }
    return text.substr(0, end);
}
