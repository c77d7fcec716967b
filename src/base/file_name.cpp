#include "base/file_name.h"

#include "base/utf8.h"

#include <algorithm>

namespace {

constexpr size_t kLongest = 200, kLongestExtension = 16;

/// The number of a character of 1 to 4 bytes; of a byte that is no UTF-8, itself.
char32_t CodeOf(std::string_view character) {
    auto code = static_cast<unsigned char>(character[0]);
    if (character.size() == 1)
        return code;
    char32_t number = code & (0x7Fu >> character.size());
    for (char const byte : character.substr(1))
        number = number << 6 | (static_cast<unsigned char>(byte) & 0x3Fu);
    return number;
}

/// Control characters, line and paragraph separators, and the marks of Unicode's bidirectional algorithm. A byte from
/// 0x80 on that is no UTF-8 is a letter of an older character set.
bool IsDropped(std::string_view character) {
    char32_t const code = CodeOf(character);
    if (character.size() == 1)
        return code < 0x20 || code == 0x7F;
    return code < 0xA0 || code == 0x61C || code == 0x200E || code == 0x200F || (code >= 0x2028 && code <= 0x202E) ||
           (code >= 0x2066 && code <= 0x2069) || code == 0xFEFF;
}

bool IsBlank(std::string_view character) {
    char32_t const code = CodeOf(character);
    if (character.size() == 1)
        return code == ' ';
    return code == 0xA0 || code == 0x1680 || (code >= 0x2000 && code <= 0x200B) || code == 0x202F || code == 0x205F ||
           code == 0x3000;
}

std::string_view FirstCharacter(std::string_view text) { return text.substr(0, CharacterBytes(text)); }

std::string_view CutStart(std::string_view text) {
    while (!text.empty() && (text[0] == '.' || IsBlank(FirstCharacter(text))))
        text.remove_prefix(CharacterBytes(text));
    return text;
}

std::string_view CutBlanksAtEnd(std::string_view text) {
    size_t end = 0;
    for (size_t at = 0; at < text.size(); at += CharacterBytes(text.substr(at)))
        if (std::string_view const character = FirstCharacter(text.substr(at)); !IsBlank(character))
            end = at + character.size();
    return text.substr(0, end);
}

} // namespace

std::string SafeFileName(std::string_view name) {
    name.remove_prefix(name.rfind('/') + 1); // npos + 1 is 0
    std::string kept;
    for (; !name.empty(); name.remove_prefix(CharacterBytes(name)))
        if (!IsDropped(FirstCharacter(name)))
            kept += FirstCharacter(name);
    std::string_view const whole = CutBlanksAtEnd(CutStart(kept));
    size_t const dot = std::min(whole.rfind('.'), whole.size());
    std::string_view const stem = CutBlanksAtEnd(whole.substr(0, dot)), extension = whole.substr(dot);
    if (stem.empty())
        return "attachment" + std::string(extension.size() > 1 ? extension : "");
    if (stem.size() + extension.size() <= kLongest)
        return std::string(stem).append(extension);
    if (extension.size() > kLongestExtension)
        return std::string(CutToCharacters(std::string(stem).append(extension), kLongest));
    return std::string(CutToCharacters(stem, kLongest - extension.size())).append(extension);
}
