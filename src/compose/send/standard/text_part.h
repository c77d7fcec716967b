#pragma once
// The text of an outgoing message, in the form that others can read (RFC 3676 format=flowed, RFC 2045). No toolkit.

#include <string>
#include <string_view>

/// The text as format=flowed lines that end with CR LF: paragraphs broken at blanks before column 76 with a blank at
/// the line's end, lines that start with a blank, ">" or "From " stuffed. Quoted lines (">") and lines without a
/// blank to break at stay as they are, but no line has over 998 bytes. LF, CR LF and CR all end a line; other control
/// characters but TAB are dropped. The signature's "-- " stays.
std::string FlowedText(std::string_view text);

enum class TransferEncoding { k7bit, k8bit, kQuotedPrintable, kBase64 };

/// "7bit", "8bit", "quoted-printable", "base64".
char const *NameOf(TransferEncoding encoding);

/// The smallest encoding for a text whose lines have at most 998 bytes: 7bit for ASCII, 8bit where the way takes it,
/// else quoted-printable or base64, whichever is smaller.
TransferEncoding SmallestEncoding(std::string_view text, bool allow8bit);

/// The text in an encoding, with CR LF. 7bit and 8bit leave it as it is.
std::string Encoded(std::string_view text, TransferEncoding encoding);
