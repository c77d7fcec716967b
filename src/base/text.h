#pragma once
// The bounded text helpers that everything uses. Text lives in fixed, NUL-terminated fields;
// what does not fit a field is cut to the field's width minus one, never written past it.

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// Copies `source` into `field` of `width` bytes, cut to width - 1 and always terminated.
/// Stops at the first NUL of `source`. Returns the number of bytes copied. Width 0 writes nothing.
size_t CopyText(char *field, size_t width, std::string_view source);

/// Appends `source` to the text that `field` holds, with the bound of CopyText.
/// Returns the new length of the field's text.
size_t AppendText(char *field, size_t width, std::string_view source);

/// printf into `field` of `width` bytes. Returns true when the whole text fitted; otherwise the
/// field holds the first width - 1 bytes. Width must be at least 1.
bool PrintText(char *field, size_t width, char const *format, ...) __attribute__((format(printf, 3, 4)));

template <size_t Width> size_t CopyText(char (&field)[Width], std::string_view source) {
    return CopyText(field, Width, source);
}
template <size_t Width> size_t AppendText(char (&field)[Width], std::string_view source) {
    return AppendText(field, Width, source);
}

/// The text of a field of `width` bytes that need not be terminated (an index row of 200 bytes).
std::string_view FieldText(char const *field, size_t width);

/// The decimal number at the start of `text` (leading blanks, an optional sign, digits), as atoi
/// reads it but saturating at the ends of int32. Text without a number gives 0.
int32_t DecimalPrefix(std::string_view text);

/// DecimalPrefix; nothing for a text without a number.
std::optional<int32_t> LeadingNumber(std::string_view text);

/// The words of a line, between blanks; views into it.
std::vector<std::string_view> WordsOf(std::string_view line);

/// The decimal number at the start of `text`, without blanks and signs but "-"; 0 without one.
int64_t LongPrefix(std::string_view text);

/// A byte as two hexadecimal digits in capitals.
std::string HexByte(char byte);

/// `text` up to its first CR or LF: anything from outside that goes into a protocol line passes
/// here, so that it can never become a command of its own (RFC 1939 3, RFC 3977 3.1).
std::string_view FirstLine(std::string_view text);

/// True when `name` may become a file or directory name below the user's directory: not empty, not
/// "." or "..", without "/" and without control characters.
bool IsPlainName(std::string_view name);

/// True when the two texts are equal without regard to the case of ASCII letters.
bool EqualNoCase(std::string_view left, std::string_view right);

/// True when `text` starts with `prefix` without regard to the case of ASCII letters.
bool StartsWithNoCase(std::string_view text, std::string_view prefix);
