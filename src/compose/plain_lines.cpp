#include "compose/plain_lines.h"

namespace {

/// The bytes of the character that `text` starts with, when that is a control character or a line end; else 0.
size_t ControlBytes(std::string_view text) {
    auto const first = static_cast<unsigned char>(text[0]);
    if (first < 0x20 || first == 0x7F)
        return text.starts_with("\r\n") ? 2 : 1;
    if (text.starts_with("\u2028") || text.starts_with("\u2029"))
        return 3;
    bool const c1 = first == 0xC2 && text.size() > 1 && (static_cast<unsigned char>(text[1]) & 0xE0) == 0x80;
    return c1 ? 2 : 0;
}

} // namespace

std::string PlainLines(std::string_view text) {
    std::string lines;
    lines.reserve(text.size());
    while (!text.empty()) {
        size_t const bytes = ControlBytes(text);
        if (bytes == 0 || text[0] == '\t' || text[0] == '\n')
            lines += text[0];
        else if (bytes == 3 || text[0] == '\r')
            lines += '\n';
        text.remove_prefix(bytes ? bytes : 1);
    }
    return lines;
}
