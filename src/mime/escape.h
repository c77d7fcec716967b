#pragma once
// Plain text on its way into an HTML page: "<" becomes "&lt;", nothing else is escaped.

#include <cstddef>
#include <string_view>

class BlockWriter;

/// What becomes of a line feed: it stays (for text inside PRE), or a line break stands behind it.
enum class LineFeed { kKept, kBroken };

/// Puts `text` into `out`: CR and NUL dropped, "<" escaped.
void PutEscaped(BlockWriter &out, std::string_view text, LineFeed lineFeed);

/// Writes `count` bytes to `descriptor`: CR and NUL dropped, LF as "\n<BR>", "<" escaped.
/// Returns `count`, or 0 when it is not positive.
int HtmlEscapeToFile(int descriptor, char const *bytes, int count);

/// Like HtmlEscapeToFile, but LF stays LF (for text inside PRE). Written in blocks.
int PlainTextToFile(int descriptor, char const *bytes, int count);

/// Appends `source` to the text in `destination` of `width` bytes: LF as "\n<BR>", "<" escaped, CR kept. What
/// does not fit is cut, never in the middle of an escape. Always returns 1.
int HtmlEscapeAppend(char *destination, size_t width, char const *source);

/// HtmlEscapeAppend on an emptied destination.
int HtmlEscapeToString(char *destination, size_t width, char const *source);
