#include "mime/interface_only.h"

#include "mime/block_writer.h"
#include "mime/escape.h"

#include <algorithm>
#include <cstring>

namespace {

int WriteEscaped(int descriptor, char const *bytes, int count, LineFeed lineFeed) {
    if (count <= 0)
        return 0;
    BlockWriter out(descriptor);
    PutEscaped(out, {bytes, static_cast<size_t>(count)}, lineFeed);
    out.Flush();
    return count;
}

/// Ends `text` after the bytes that `drop` leaves.
template <class Drop> void RemoveBytes(char *text, Drop drop) {
    *std::remove_if(text, text + strlen(text), drop) = 0;
}

} // namespace

char const *ReadTextLine(char const *text, char *buffer, int width) {
    if (width < 1)
        return text;
    int length = 0;
    while (length < width - 1 && text[length] && text[length] != '\n')
        length++;
    memcpy(buffer, text, static_cast<size_t>(length));
    buffer[length] = 0;
    return text + length + (text[length] == '\n' ? 1 : 0);
}

char const *ParsePartHeaders(char const *partStart, void *, PartHeaders &part, char const *boundary) {
    return partStart + ParsePart(partStart, boundary, part).resume;
}

void RemoveSpaces(char *text) {
    RemoveBytes(text, [](char byte) { return byte == ' '; });
}

void TrimLeadingSpaces(char *text) {
    char const *const start = text + strspn(text, " ");
    memmove(text, start, strlen(start) + 1);
}

void RemoveLineBreaks(char *text) {
    RemoveBytes(text, [](char byte) { return byte == '\r' || byte == '\n'; });
}

int HtmlEscapeToFile(int descriptor, char const *bytes, int count) {
    return WriteEscaped(descriptor, bytes, count, LineFeed::kBroken);
}

int PlainTextToFile(int descriptor, char const *bytes, int count) {
    return WriteEscaped(descriptor, bytes, count, LineFeed::kKept);
}

int HtmlEscapeToString(char *destination, size_t width, char const *source) {
    if (width == 0)
        return 1;
    destination[0] = 0;
    return HtmlEscapeAppend(destination, width, source);
}
