#pragma once
// Texts on their way into the editor and out of it.

#include <string>
#include <string_view>

/// `text` (UTF-8; other bytes count as Latin-1) as the editor shows it: CR LF, CR, U+2028 and U+2029 are line ends
/// and become LF; other control characters but TAB are dropped. So what is sent is what was seen.
std::string PlainLines(std::string_view text);
