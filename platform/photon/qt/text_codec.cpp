#include "qt/text_codec.h"

#include <algorithm>

namespace {

struct Character {
    char32_t code;
    int bytes;
};

/// The character that `text` (not empty) begins with. RFC 3629: no overlong forms, no surrogates, at most U+10FFFF.
Character Next(std::string_view text) {
    auto const byte = [&](size_t i) { return static_cast<unsigned char>(text[i]); };
    unsigned char const lead = byte(0);
    int const length = lead < 0x80                    ? 1
                       : lead >= 0xC2 && lead <= 0xDF ? 2
                       : (lead & 0xF0) == 0xE0        ? 3
                       : lead >= 0xF0 && lead <= 0xF4 ? 4
                                                      : 0;
    if (length == 1)
        return {lead, 1};
    if (length == 0 || text.size() < static_cast<size_t>(length))
        return {lead, 1};
    char32_t code = lead & (0xFF >> (length + 1));
    for (int i = 1; i < length; i++) {
        if ((byte(i) & 0xC0) != 0x80)
            return {lead, 1};
        code = code << 6 | (byte(i) & 0x3F);
    }
    bool const good = length == 2 || (length == 3 && code >= 0x800 && (code < 0xD800 || code > 0xDFFF)) ||
                      (length == 4 && code >= 0x10000 && code <= 0x10FFFF);
    return good ? Character{code, length} : Character{lead, 1};
}

bool IsControl(char32_t code) {
    return code < 0x20 || (code >= 0x7F && code < 0xA0) || code == 0x2028 || code == 0x2029;
}

/// What is shown for a character; 0 for nothing. Text editors take a few codes for paragraph ends of their own.
char32_t Shown(char32_t code, std::string_view rest, TextShape shape) {
    if (shape == TextShape::Lines) {
        if (code == '\r')
            return rest.starts_with('\n') ? 0 : '\n';
        if (code == '\n' || code == '\t')
            return code;
        if (code == 0xFDD0 || code == 0xFDD1)
            return 0xFFFD;
    }
    if (!IsControl(code))
        return code;
    return shape == TextShape::Row ? U' ' : 0;
}

/// Calls `step(code shown or 0)` for each character until it answers false.
template <class Step> void Walk(std::string_view bytes, TextShape shape, Step step) {
    while (!bytes.empty()) {
        Character const character = Next(bytes);
        bytes.remove_prefix(character.bytes);
        if (!step(Shown(character.code, bytes, shape)))
            return;
    }
}

int Units(char32_t code) { return code == 0 ? 0 : code > 0xFFFF ? 2 : 1; }

size_t BytesOf(std::string_view bytes, int characters) {
    size_t at = 0;
    for (; characters > 0 && at < bytes.size(); characters--)
        at += Next(bytes.substr(at)).bytes;
    return at;
}

} // namespace

QString ShownText(std::string_view bytes, TextShape shape) {
    QString text;
    text.reserve(static_cast<qsizetype>(bytes.size()));
    Walk(bytes, shape, [&](char32_t code) {
        if (code > 0xFFFF) {
            text.append(QChar(QChar::highSurrogate(code)));
            text.append(QChar(QChar::lowSurrogate(code)));
        } else if (code != 0) {
            text.append(QChar(static_cast<char16_t>(code)));
        }
        return true;
    });
    return text;
}

QString ShownLabel(std::string_view bytes, TextShape shape) {
    return ShownText(bytes, shape).replace(QLatin1Char('&'), QLatin1String("&&"));
}

int CharacterAt(std::string_view bytes, TextShape shape, int units) {
    int characters = 0;
    int shown = 0;
    Walk(bytes, shape, [&](char32_t code) {
        if (shown >= units)
            return false;
        shown += Units(code);
        characters++;
        return true;
    });
    return characters;
}

int UnitsAt(std::string_view bytes, TextShape shape, int character) {
    int shown = 0;
    Walk(bytes, shape, [&](char32_t code) {
        if (character-- <= 0)
            return false;
        shown += Units(code);
        return true;
    });
    return shown;
}

std::string_view FirstCharacters(std::string_view bytes, int count) { return bytes.substr(0, BytesOf(bytes, count)); }

int CountCharacters(std::string_view bytes) {
    int count = 0;
    for (; !bytes.empty(); count++)
        bytes.remove_prefix(Next(bytes).bytes);
    return count;
}

std::string ReplaceCharacters(std::string_view bytes, int start, int end, std::string_view inserted) {
    size_t const from = BytesOf(bytes, start);
    size_t const to = from + BytesOf(bytes.substr(from), std::max(0, end - start));
    std::string result(bytes.substr(0, from));
    result += inserted;
    result += bytes.substr(to);
    return result;
}
