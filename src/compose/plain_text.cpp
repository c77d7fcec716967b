#include "compose/plain_text.h"

#include "base/utf8.h"

namespace {

/// Whether the character, one of CharacterBytes' length, is not shown: a control of ASCII, of Latin-1 in UTF-8
/// (U+0080 to U+009F), or a separator.
bool IsHidden(std::string_view character) {
    auto const first = static_cast<unsigned char>(character[0]);
    if (character.size() == 1)
        return first < 0x20 || first == 0x7F;
    return (first == 0xC2 && static_cast<unsigned char>(character[1]) < 0xA0) || character == "\u2028" ||
           character == "\u2029";
}

/// The length of what `text` starts with that is plain ASCII: most of a text.
size_t PlainBytes(std::string_view text) {
    size_t length = 0;
    while (length < text.size() && ((text[length] >= ' ' && text[length] < 0x7F) || text[length] == '\n'))
        length++;
    return length;
}

/// Calls `hidden` with each character that is not shown, and with what follows it, for what to write in its place.
template <class Hidden> std::string Plain(std::string_view text, Hidden hidden) {
    std::string plain;
    plain.reserve(text.size());
    for (;;) {
        size_t const ascii = PlainBytes(text);
        plain += text.substr(0, ascii);
        text.remove_prefix(ascii);
        if (text.empty())
            return plain;
        std::string_view const character = text.substr(0, CharacterBytes(text));
        text.remove_prefix(character.size());
        plain += IsHidden(character) ? hidden(character, text) : character;
    }
}

} // namespace

std::string PlainLines(std::string_view text) {
    return Plain(text, [](std::string_view character, std::string_view rest) -> std::string_view {
        if (character == "\t")
            return character;
        bool const lineEnd = character.size() == 3 || (character == "\r" && !rest.starts_with('\n'));
        return lineEnd ? "\n" : "";
    });
}

std::string PlainLine(std::string_view text) {
    std::string line = Plain(text, [](std::string_view character, std::string_view) -> std::string_view {
        return character == "\t" ? " " : "";
    });
    std::erase(line, '\n');
    return line;
}
