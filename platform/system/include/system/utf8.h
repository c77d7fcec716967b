#pragma once
// The program's one reader and writer of UTF-8 (RFC 3629).

#include <cstddef>
#include <string>
#include <string_view>

struct Utf8Character {
    char32_t code = 0; ///< the byte's value when it is not `valid`
    size_t bytes = 1;  ///< 1 to 4
    bool valid = true; ///< false for a byte that is part of no well-formed sequence
};

/// The character at the start of `text`, which is not empty. No overlong form, surrogate or number above U+10FFFF is
/// well formed.
Utf8Character Utf8At(std::string_view text);

/// Appends a character, which is no surrogate and at most U+10FFFF.
void AppendUtf8(std::string &text, char32_t code);
