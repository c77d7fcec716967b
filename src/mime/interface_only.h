#pragma once
// Functions of the system's original interface that the program itself does not call: it uses the faces named with
// each. They are kept, with exactly this effect, for what is built on that interface.

#include "mime/part_headers.h"

#include <cstddef>

/// Copies the line at `text` (up to its LF, a NUL, or `width` - 1 bytes) into `buffer` of `width` bytes and
/// terminates it there. A CR before the LF is copied. Returns the position after the LF, or where the copy stopped. A
/// line of exactly width - 1 bytes takes its LF along. (TakeLine)
char const *ReadTextLine(char const *text, char *buffer, int width);

/// Parses the header block of the part that starts at `partStart`, just after the boundary's line. `boundary` is "--"
/// and the parameter. Returns where the search for the next boundary goes on. (ParsePart)
char const *ParsePartHeaders(char const *partStart, void *ignored, PartHeaders &part, char const *boundary);

/// Removes every blank.
void RemoveSpaces(char *text);
/// Removes the blanks at the start.
void TrimLeadingSpaces(char *text);
/// Removes every CR and LF.
void RemoveLineBreaks(char *text);

/// Writes `count` bytes to `descriptor`: CR and NUL dropped, LF as "\n<BR>", "<" escaped. Returns `count`, or 0 when
/// it is not positive; a write that fails is not told. (PutEscaped)
int HtmlEscapeToFile(int descriptor, char const *bytes, int count);

/// Like HtmlEscapeToFile, but LF stays LF (for text inside PRE).
int PlainTextToFile(int descriptor, char const *bytes, int count);

/// HtmlEscapeAppend on an emptied destination.
int HtmlEscapeToString(char *destination, size_t width, char const *source);
