#include "core/utf8.h"

namespace {

bool IsTail(char byte) { return (static_cast<unsigned char>(byte) & 0xC0) == 0x80; }

} // namespace

char32_t PtCharAt(std::string_view text, size_t &bytes) {
    auto const lead = static_cast<unsigned char>(text[0]);
    bytes = 1;
    size_t const size = lead < 0xC2 ? 1 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : lead < 0xF5 ? 4 : 1;
    if (size == 1 || text.size() < size)
        return lead;
    char32_t code = lead & (0xFFU >> (size + 1));
    for (size_t i = 1; i < size; i++) {
        if (!IsTail(text[i]))
            return lead;
        code = code << 6 | (static_cast<unsigned char>(text[i]) & 0x3FU);
    }
    bool const overlong = (size == 3 && code < 0x800) || (size == 4 && code < 0x10000);
    if (overlong || (code >= 0xD800 && code < 0xE000) || code > 0x10FFFF)
        return lead;
    bytes = size;
    return code;
}

size_t PtCharBytes(std::string_view text) {
    if (text.empty())
        return 0;
    size_t bytes = 1;
    PtCharAt(text, bytes);
    return bytes;
}

size_t PtCountChars(std::string_view text) {
    size_t count = 0;
    for (; !text.empty(); count++)
        text.remove_prefix(PtCharBytes(text));
    return count;
}

size_t PtCharOffset(std::string_view text, size_t position) {
    size_t offset = 0;
    while (position-- > 0 && offset < text.size())
        offset += PtCharBytes(text.substr(offset));
    return offset;
}
