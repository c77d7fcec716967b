#include "system/utf8.h"

Utf8Character Utf8At(std::string_view text) {
    auto const lead = static_cast<unsigned char>(text[0]);
    if (lead < 0x80)
        return {lead, 1, true};
    Utf8Character const byte{lead, 1, false};
    size_t const size = lead < 0xC2 || lead > 0xF4 ? 0 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
    if (size == 0 || text.size() < size)
        return byte;
    char32_t code = lead & (0x7FU >> size);
    for (size_t i = 1; i < size; i++) {
        auto const tail = static_cast<unsigned char>(text[i]);
        if ((tail & 0xC0) != 0x80)
            return byte;
        code = code << 6 | (tail & 0x3FU);
    }
    bool const overlong = (size == 3 && code < 0x800) || (size == 4 && code < 0x10000);
    if (overlong || (code >= 0xD800 && code < 0xE000) || code > 0x10FFFF)
        return byte;
    return {code, size, true};
}

void AppendUtf8(std::string &text, char32_t code) {
    auto const put = [&text](char32_t byte) { text.push_back(static_cast<char>(byte)); };
    if (code < 0x80)
        return put(code);
    if (code < 0x800) {
        put(0xC0 | code >> 6);
    } else {
        if (code < 0x10000) {
            put(0xE0 | code >> 12);
        } else {
            put(0xF0 | code >> 18);
            put(0x80 | (code >> 12 & 0x3F));
        }
        put(0x80 | (code >> 6 & 0x3F));
    }
    put(0x80 | (code & 0x3F));
}
