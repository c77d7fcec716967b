#include "net/dots.h"

#include <cstring>

namespace {

constexpr std::string_view kMarkLine = kEndMark.substr(2);
constexpr std::string_view kDoubled = "\r\n..";

/// The place of the first dot from `from` on that starts a line, npos for none.
size_t FindLineDot(std::string_view bytes, size_t from, bool atLineStart) {
    for (size_t dot = bytes.find('.', from); dot != bytes.npos; dot = bytes.find('.', dot + 1))
        if (dot == 0 ? atLineStart : bytes[dot - 1] == '\n')
            return dot;
    return bytes.npos;
}

} // namespace

size_t UndoDots(char *text, size_t length) {
    char const *from = text;
    char const *const end = text + length;
    char *to = text;
    if (length >= 2 && text[0] == '.' && text[1] == '.')
        from++;
    while (from < end) {
        void const *const found = memmem(from, static_cast<size_t>(end - from), kDoubled.data(), kDoubled.size());
        size_t const whole = static_cast<size_t>(found ? static_cast<char const *>(found) + 3 - from : end - from);
        if (to != from)
            memmove(to, from, whole);
        to += whole;
        from += whole + (found ? 1 : 0);
    }
    return static_cast<size_t>(to - text);
}

bool EndsInMark(std::string_view bytes) { return bytes.ends_with(kEndMark) || bytes == kMarkLine; }

size_t FindTextEnd(std::string_view bytes, size_t from) {
    if (from == 0 && bytes.starts_with(kMarkLine))
        return 0;
    size_t const start = from >= 2 ? from - 2 : 0;
    if (start >= bytes.size())
        return std::string_view::npos;
    void const *const found = memmem(bytes.data() + start, bytes.size() - start, kEndMark.data(), kEndMark.size());
    return found ? static_cast<size_t>(static_cast<char const *>(found) - bytes.data()) + 2 : std::string_view::npos;
}

std::string_view DoubleDots(std::string_view bytes, bool &atLineStart, std::string &room) {
    size_t dot = FindLineDot(bytes, 0, atLineStart);
    if (!bytes.empty())
        atLineStart = bytes.back() == '\n';
    if (dot == bytes.npos)
        return bytes;
    room.clear();
    size_t done = 0;
    for (; dot != bytes.npos; dot = FindLineDot(bytes, dot + 1, false)) {
        room.append(bytes, done, dot - done).append(1, '.');
        done = dot;
    }
    return room.append(bytes, done);
}
