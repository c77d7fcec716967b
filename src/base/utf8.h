#pragma once
// Characters of a text: a valid UTF-8 sequence (RFC 3629) is one, every other byte is one by itself, as text fields
// count them. What a sequence is, system/utf8.h knows.

#include <cstddef>
#include <string_view>

/// The bytes of the character at the start of `text`: 1 to 4; 0 for an empty text.
size_t CharacterBytes(std::string_view text);

/// The number of characters in `text`.
size_t CharacterCount(std::string_view text);

/// The first `bytes` bytes of `text` (or all of it when it has no more), without a sequence that the cut would split.
std::string_view CutToCharacters(std::string_view text, size_t bytes);

/// A text widget takes a second for this much, and many times the text's size for each line: more is shown in parts.
constexpr size_t kTextPartBytes = 1'000'000;
constexpr size_t kTextPartLines = 50'000;

/// The first part of `text`: all of it within these limits, else as many whole lines as fit; of a line that alone is
/// too long, as many characters. Empty for an empty text only.
std::string_view TextPart(std::string_view text);
