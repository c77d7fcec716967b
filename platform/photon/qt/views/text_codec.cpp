#include "qt/views/text_codec.h"

#include "core/utf8.h"

#include <algorithm>

namespace {

/// What is shown for a character; 0 for nothing. Text editors take a few codes for paragraph ends of their own.
char32_t Shown(Utf8Character const &character, std::string_view rest, TextShape shape) {
    char32_t const code = character.code;
    if (shape == TextShape::Lines) {
        if (code == '\r')
            return rest.starts_with('\n') ? 0 : '\n';
        if (code == '\n' || code == '\t')
            return code;
        if (code == 0xFDD0 || code == 0xFDD1)
            return 0xFFFD;
    }
    if (!PtIsControl(character))
        return PtShownChar(character);
    return shape == TextShape::Row ? U' ' : 0;
}

/// Calls `step(code shown or 0)` for each character until it answers false.
template <class Step> void Walk(std::string_view bytes, TextShape shape, Step step) {
    while (!bytes.empty()) {
        Utf8Character const character = Utf8At(bytes);
        bytes.remove_prefix(character.bytes);
        if (!step(Shown(character, bytes, shape)))
            return;
    }
}

int Units(char32_t code) { return code == 0 ? 0 : code > 0xFFFF ? 2 : 1; }

size_t BytesOf(std::string_view bytes, int characters) {
    return PtCharOffset(bytes, static_cast<size_t>(std::max(characters, 0)));
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

int CountCharacters(std::string_view bytes) { return static_cast<int>(PtCountChars(bytes)); }

std::string ReplaceCharacters(std::string_view bytes, int start, int end, std::string_view inserted) {
    size_t const from = BytesOf(bytes, start);
    size_t const to = from + BytesOf(bytes.substr(from), std::max(0, end - start));
    std::string result(bytes.substr(0, from));
    PtAppendText(result, inserted);
    PtAppendText(result, bytes.substr(to));
    return result;
}
