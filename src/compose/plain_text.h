#pragma once
// Texts without what no editor shows, so that what is sent is what was seen. UTF-8; other bytes are kept.

#include <string>
#include <string_view>

/// The lines of a message: CR LF, CR, U+2028 and U+2029 become LF, other control characters but TAB are dropped. A
/// PtMultiText does the same to every text that it gets; what is sent relies on no widget.
std::string PlainLines(std::string_view text);

/// The text of a field of one line: TAB becomes a blank, other control characters are dropped, U+2028 and U+2029
/// with them. A PtText keeps what it gets from the program and does not show all of it.
std::string PlainLine(std::string_view text);
