#pragma once
// Plain text on its way into an HTML page: "<" becomes "&lt;". kept: nothing else is escaped, so that "&lt;" in a
// message is shown as "<".

#include <cstddef>
#include <string_view>

class BlockWriter;

/// What becomes of a line feed: it stays (for text inside PRE), or a line break follows it.
enum class LineFeed { kKept, kBroken };

/// Puts `text` into `out`: CR and NUL dropped, "<" escaped.
void PutEscaped(BlockWriter &out, std::string_view text, LineFeed lineFeed);

/// Appends `source` to the text in `destination` of `width` bytes: LF as "\n<BR>", "<" escaped, CR kept. What
/// does not fit is cut, never in the middle of an escape. Always returns 1.
int HtmlEscapeAppend(char *destination, size_t width, char const *source);
