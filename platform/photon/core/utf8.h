#pragma once
// Texts are bytes. Where they are valid UTF-8 (RFC 3629) a character is a sequence; every other byte is a character
// of its own (Latin-1). Text positions of the toolkit count such characters.

#include <cstddef>
#include <string_view>

/// The bytes of the character at the start of `text`: 1 to 4, 0 for an empty text.
size_t PtCharBytes(std::string_view text);

/// The code point of the character at the start of `text`, which is not empty; `bytes` becomes its length.
char32_t PtCharAt(std::string_view text, size_t &bytes);

size_t PtCountChars(std::string_view text);

/// The byte offset of character number `position`; the text's size when it has fewer.
size_t PtCharOffset(std::string_view text, size_t position);
