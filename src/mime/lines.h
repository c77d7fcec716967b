#pragma once
// Lines of a text whose length is known.

#include <cstddef>
#include <string_view>

/// Takes the next line off the front of `rest`: the bytes before its LF, which is dropped, or `width` - 1 bytes when
/// no LF comes up to behind them. Looks at no more than `width` bytes.
std::string_view TakeLine(std::string_view &rest, size_t width);

/// The text from just behind the line that begins at `text`; empty when no line follows.
std::string_view BehindLine(std::string_view text);
