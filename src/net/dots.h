#pragma once
// Texts of several lines on the wire (RFC 1939 3, RFC 3977 3.1.1, RFC 5321 4.5.2): a line that starts with a dot has
// it doubled, a line with a dot alone ends the text.

#include <cstddef>
#include <string>
#include <string_view>

/// The line of the dot alone, with the end of the line before it.
constexpr std::string_view kEndMark = "\r\n.\r\n";

/// Undoes the doubled dots at the starts of lines, in place. Returns the new length.
size_t UndoDots(char *text, size_t length);

/// True when `bytes`, which start at a line's start, end in the line of a dot alone.
bool EndsInMark(std::string_view bytes);

/// Where the text in front of the first end mark ends that leaves at least `from` bytes of it; npos when there is
/// none. `bytes` start at a line's start.
size_t FindTextEnd(std::string_view bytes, size_t from);

/// `bytes` with the dots doubled that start a line; `atLineStart` tells whether the first byte does, and is set for
/// the bytes that follow these. `room` holds the result when it differs from `bytes`.
std::string_view DoubleDots(std::string_view bytes, bool &atLineStart, std::string &room);
