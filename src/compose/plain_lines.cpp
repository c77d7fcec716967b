#include "compose/plain_lines.h"

#include "base/utf8.h"

namespace {

/// Whether the character, one of CharacterBytes' length, is a control character. A byte that is no UTF-8 is one of
/// Latin-1 (ISO 8859-1, whose upper control characters are 128 to 159).
bool IsControl(std::string_view character) {
    auto const first = static_cast<unsigned char>(character[0]);
    if (character.size() == 1)
        return first < 0x20 || (first >= 0x7F && first < 0xA0);
    return first == 0xC2 && static_cast<unsigned char>(character[1]) < 0xA0;
}

/// The length of what `text` starts with that is plain ASCII: most of a text.
size_t PlainBytes(std::string_view text) {
    size_t length = 0;
    while (length < text.size() && ((text[length] >= ' ' && text[length] < 0x7F) || text[length] == '\n'))
        length++;
    return length;
}

} // namespace

std::string PlainLines(std::string_view text) {
    std::string lines;
    lines.reserve(text.size());
    for (;;) {
        size_t const plain = PlainBytes(text);
        lines += text.substr(0, plain);
        text.remove_prefix(plain);
        if (text.empty())
            return lines;
        std::string_view const character = text.substr(0, CharacterBytes(text));
        text.remove_prefix(character.size());
        if (character == "\t" || (!IsControl(character) && character != "\u2028" && character != "\u2029"))
            lines += character;
        else if (character[0] == '\r' ? !text.starts_with('\n') : character.size() == 3)
            lines += '\n';
    }
}
