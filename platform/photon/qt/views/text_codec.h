#pragma once
// Bytes to shown text and back. Text is UTF-8; a byte that is not part of valid UTF-8 counts as one character and is
// shown as in Windows-1252, so that any bytes can be shown and are kept unless the user edits them.

#include <QString>

#include <string>
#include <string_view>

enum class TextShape {
    Line, ///< one line: control characters are not shown
    Row,  ///< one line: control characters are shown as blanks
    Lines ///< several lines: CR LF is one line end, other control characters than tab are not shown
};

/// The bytes as they are shown.
QString ShownText(std::string_view bytes, TextShape shape);

/// The same as a label that would take "&" for a mark shows it.
QString ShownLabel(std::string_view bytes, TextShape shape);

/// The number of characters of `bytes` before the place where the shown text has `units` UTF-16 units.
int CharacterAt(std::string_view bytes, TextShape shape, int units);

/// UTF-16 units of the shown text before character `character`.
int UnitsAt(std::string_view bytes, TextShape shape, int character);

/// The first `count` characters of `bytes`.
std::string_view FirstCharacters(std::string_view bytes, int count);
int CountCharacters(std::string_view bytes);

/// `bytes` with the characters from `start` to `end` replaced; all others stay the characters that they were.
std::string ReplaceCharacters(std::string_view bytes, int start, int end, std::string_view inserted);
