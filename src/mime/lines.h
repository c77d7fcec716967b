#pragma once
// Lines of a text, and words in them.

#include <cstddef>
#include <string_view>

/// Takes the next line off the front of `rest`: the bytes before its LF, which is dropped, or `width` - 1 bytes when
/// no LF comes within `width`. Looks at no more than `width` bytes. Empty, with nothing taken, at the end.
std::string_view TakeLine(std::string_view &rest, size_t width);

/// The text from the line after the one that starts at `text`; empty when no line follows.
std::string_view AfterLine(std::string_view text);

/// Searches `needle` in the first `length` bytes of `haystack` (at most 2000 are looked at) without regard to
/// ASCII case. kept: a needle longer than that is cut to that length first. Returns the place in `haystack`, or null
/// when it is not there. Neither text need be terminated within `length`.
char const *FindNoCase(char const *haystack, char const *needle, int length);
