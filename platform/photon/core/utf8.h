#pragma once
// Texts are bytes. Where they are valid UTF-8 (RFC 3629) a character is a sequence; every other byte is a character
// of its own, and means what it does in Windows-1252. Text positions of the toolkit count such characters.

#include "system/utf8.h"

#include <cstddef>
#include <string>
#include <string_view>

/// The bytes of the character at the start of `text`: 1 to 4, 0 for an empty text.
size_t PtCharBytes(std::string_view text);

size_t PtCountChars(std::string_view text);

/// The byte offset of character number `position`; the text's size when it has fewer.
size_t PtCharOffset(std::string_view text, size_t position);

/// What a character is shown as, be it valid or a byte by itself.
char32_t PtShownChar(Utf8Character const &character);

/// Whether no text field shows this character: the controls of ASCII and Latin-1, and the separators U+2028, U+2029.
bool PtIsControl(Utf8Character const &character);

/// Joins two parts of a text so that each keeps its characters: a byte that would form one with its new neighbours
/// is written as the character that it was shown as.
void PtAppendText(std::string &text, std::string_view part);

enum class PtTextLines { One, Several };

/// A text as a field can show it, character for character. Control characters are dropped, those in UTF-8 and NUL
/// among them; with several lines TAB and LF stay, and CR LF, CR, U+2028 and U+2029 become LF. Two codes that text
/// editors keep for themselves (U+FDD0, U+FDD1) become U+FFFD.
std::string PtPlainText(std::string_view text, PtTextLines lines);
