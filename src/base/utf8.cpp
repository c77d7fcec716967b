#include "base/utf8.h"

#include "system/utf8.h"

size_t CharacterBytes(std::string_view text) { return text.empty() ? 0 : Utf8At(text).bytes; }

size_t CharacterCount(std::string_view text) {
    size_t count = 0;
    for (; !text.empty(); count++)
        text.remove_prefix(Utf8At(text).bytes);
    return count;
}

std::string_view CutToCharacters(std::string_view text, size_t bytes) {
    if (text.size() <= bytes)
        return text;
    for (size_t back = 1; back <= 3 && back <= bytes; back++) {
        size_t const start = bytes - back;
        if (Utf8At(text.substr(start)).bytes > back)
            return text.substr(0, start);
    }
    return text.substr(0, bytes);
}

std::string_view TextPart(std::string_view text) {
    std::string_view const front = text.substr(0, kTextPartBytes);
    size_t end = 0;
    for (size_t lines = 0; lines < kTextPartLines; lines++) {
        size_t const feed = front.find('\n', end);
        if (feed != front.npos)
            end = feed + 1;
        else if (front.size() == text.size())
            return text;
        else
            return end > 0 ? text.substr(0, end) : CutToCharacters(text, kTextPartBytes);
    }
    return text.substr(0, end);
}
