#pragma once
// Message headers (RFC 5322) and the headers of MIME parts (RFC 2046), parsed into fixed fields.
// Every field is NUL-terminated; what does not fit is cut to the field's width minus one.

#include <cstdint>

/// The top-level headers of one message. A value stands as it follows the colon, its leading blank
/// included, without the line's last CR.
struct ParsedHeaders {
    char from[5000];
    char to[5000]; ///< with its continuation lines, whose "<" are escaped as "&lt;"
    char cc[5000]; ///< like `to`
    char date[2000];
    char subject[2000];
    char contentType[2000];
    char boundary[2000]; ///< "--" and the BOUNDARY parameter; empty when there is none
    char newsgroups[2000];
    uint32_t headerLength; ///< bytes from the message's begin to behind its header lines; never behind its end
};

/// One MIME body part. `body` points into the message text that was parsed.
struct PartHeaders {
    char name[1280];
    char contentType[200];
    char const *body;
    int32_t bodyLength; ///< up to the next boundary; 0 when none follows
    char encoding[100]; ///< Content-Transfer-Encoding as it stands, leading blank included
    char reserved[100]; ///< filled for files attached to an outgoing message only
    char fileName[1280];
};

/// Copies the line at `text` (up to its LF, a NUL, or `width` - 1 bytes) into `buffer` of `width` bytes, which
/// is terminated behind it. A CR before the LF is copied. Returns the position behind the LF, or where the
/// copy stopped. A line of exactly width - 1 bytes takes its LF along.
char const *ReadTextLine(char const *text, char *buffer, int width);

/// Searches `needle` in the first `length` bytes of `haystack` (at most 2000 are looked at) without regard to
/// ASCII case. A needle longer than that is cut to that length first. Returns the place in `haystack` or null.
char const *FindNoCase(char const *haystack, char const *needle, int length);

/// Parses the headers of the NUL-terminated message `text` (null counts as empty). Always returns 1.
int ParseHeaders(char const *text, ParsedHeaders &headers);

/// Parses the header block of the part that begins at `partStart`, just behind the boundary's line. `boundary`
/// is "--" and the parameter. Returns where the search for the next boundary goes on.
char const *ParsePartHeaders(char const *partStart, void *ignored, PartHeaders &part, char const *boundary);

/// Takes the first recipient of an address list (RFC 5322 3.4, as typed: separated by "," or ";") into `out` of
/// `width` bytes, without blanks and quotes. With `addressOnly`, only the address between the angle brackets.
/// Returns the rest of the list, or null when nothing was taken.
char const *ExtractRecipient(char const *list, char *out, int width, bool addressOnly);

/// Removes the double quotes and ends the string at its first CR or LF.
void StripQuotes(char *text);
/// Removes every blank.
void RemoveSpaces(char *text);
/// Removes the blanks at the beginning.
void TrimLeadingSpaces(char *text);
/// Removes every CR and LF.
void RemoveLineBreaks(char *text);

/// Formats the list row of a message: " \t<Subject>\t<From>\t<Date>\t" into `row` of `width` bytes, cut to
/// width - 1 and terminated. `text` may be null (a message that could not be fetched). Returns `row`.
char *FormatHeaderRow(char const *text, char *row, int width);
