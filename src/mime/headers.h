#pragma once
// Message headers (RFC 5322), parsed into fixed fields. Every field is NUL-terminated; what does not fit is cut to
// the field's width minus one. Nothing here fails: what is missing is empty.

#include <cstdint>

/// The top-level headers of one message. A value stands as it follows the colon, its leading blank included, without
/// the line's last CR.
struct ParsedHeaders {
    char from[5000];
    char to[5000]; ///< with its continuation lines, whose "<" are escaped as "&lt;"
    char cc[5000]; ///< like `to`
    char date[2000];
    char subject[2000];
    char contentType[2000];
    char boundary[2000]; ///< "--" and the BOUNDARY parameter; empty when there is none
    char newsgroups[2000];
    uint32_t headerLength; ///< bytes from the message's start to the end of its header lines; never after its end
};

/// The header that the previous line belonged to, for the lines that continue it.
enum class HeaderState { kNone = 0, kFrom = 1, kSubject = 2, kDate = 3, kTo = 4, kCc = 5, kContentType = 6 };

/// Parses the headers of the NUL-terminated message `text` (null counts as empty). Always returns 1.
int ParseHeaders(char const *text, ParsedHeaders &headers);

/// Formats the list row of a message: " \t<Subject>\t<From>\t<Date>\t" into `row` of `width` bytes, cut to
/// width - 1 and terminated. `text` may be null (a message that could not be fetched). Returns `row`.
char *FormatHeaderRow(char const *text, char *row, int width);
