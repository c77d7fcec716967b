#include "mime/lines.h"

#include <algorithm>
#include <cstring>

namespace {

constexpr int kSearched = 2000; ///< how much of a haystack FindNoCase looks at

char Upper(char byte) { return byte >= 'a' && byte <= 'z' ? static_cast<char>(byte - 'a' + 'A') : byte; }

bool SameNoCase(char const *left, char const *right, size_t length) {
    for (size_t i = 0; i < length; i++)
        if (Upper(left[i]) != Upper(right[i]))
            return false;
    return true;
}

} // namespace

std::string_view TakeLine(std::string_view &rest, size_t width) {
    size_t const looked = std::min(rest.size(), width);
    void const *const end = looked ? memchr(rest.data(), '\n', looked) : nullptr;
    size_t const length =
        end ? static_cast<size_t>(static_cast<char const *>(end) - rest.data()) : std::min(looked, width - 1);
    std::string_view const line = rest.substr(0, length);
    rest.remove_prefix(length + (end ? 1 : 0));
    return line;
}

std::string_view AfterLine(std::string_view text) {
    size_t const end = text.find('\n');
    return end == text.npos ? text.substr(text.size()) : text.substr(end + 1);
}

char const *FindNoCase(char const *haystack, char const *needle, int length) {
    size_t const limit = static_cast<size_t>(std::clamp(length, 0, kSearched));
    size_t const hay = strnlen(haystack, limit);
    size_t const sought = strnlen(needle, limit);
    for (size_t at = 0; at + sought <= hay; at++)
        if (SameNoCase(haystack + at, needle, sought))
            return haystack + at;
    return nullptr;
}
