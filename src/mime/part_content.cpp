#include "mime/part_content.h"

#include "base/fd.h"
#include "base/text.h"
#include "mime/base64.h"
#include "mime/block_writer.h"
#include "mime/lines.h"

#include <cstdlib>
#include <cstring>
#include <memory>

namespace {

constexpr size_t kLineWidth = 80;   ///< lines of up to 79 bytes
constexpr size_t kDecodedRoom = 68; ///< 19 groups of 3 bytes and the decoder's terminator

/// Control and 8-bit bytes, which no base64 line holds.
bool IsControl(char byte) { return static_cast<signed char>(byte) < 32; }

/// Cuts the line end: the byte before the last when it is a control byte, then the last. kept: of a line that ends in
/// an 8-bit byte the last two go
std::string_view CutLineEnd(std::string_view line) {
    if (line.size() >= 2 && IsControl(line[line.size() - 2]))
        line.remove_suffix(2);
    if (!line.empty() && IsControl(line.back()))
        line.remove_suffix(1);
    return line;
}

} // namespace

void PutDecodedLines(BlockWriter &out, std::string_view text, size_t bodyLength, PartLines kind,
                     std::string_view boundary) {
    // kept: pieces of 79 characters, of which the last three make no group; lines of other lengths come out so, too
    size_t const left = text.size() > bodyLength ? text.size() - bodyLength : 0;
    while (text.size() > left) {
        std::string_view line = TakeLine(text, kLineWidth);
        if (kind == PartLines::kImage && !line.empty() && IsControl(line[0]))
            line.remove_prefix(1);
        line = CutLineEnd(line);
        if (kind == PartLines::kImage && line == boundary)
            break;
        out.Used(DecodeBase64(out.Room(kDecodedRoom), line));
    }
}

bool WritePartContent(int descriptor, PartHeaders const &part) {
    if (!part.body || part.bodyLength <= 0)
        return true;
    std::string_view const body(part.body, static_cast<size_t>(part.bodyLength));
    if (!part.encoding[0])
        return WriteAll(descriptor, body);
    // kept: whatever the encoding is called, it is taken for base64
    BlockWriter out(descriptor);
    PutDecodedLines(out, body, body.size(), PartLines::kSaved, {});
    return out.Flush();
}

PartHeaders *CopyPart(PartHeaders const &part) {
    constexpr size_t kSpare = 5; // kept: readers of the body may look a few bytes past it
    std::unique_ptr<PartHeaders, decltype(&FreePart)> copy(static_cast<PartHeaders *>(calloc(1, sizeof(PartHeaders))),
                                                           FreePart);
    if (!copy)
        return nullptr;
    size_t const length = part.body && part.bodyLength > 0 ? static_cast<size_t>(part.bodyLength) : 0;
    char *const body = static_cast<char *>(calloc(1, length + kSpare));
    if (!body)
        return nullptr;
    if (length)
        memcpy(body, part.body, length);
    copy->body = body;
    copy->bodyLength = static_cast<int32_t>(length);
    CopyText(copy->name, part.name);
    CopyText(copy->contentType, part.contentType);
    CopyText(copy->encoding, part.encoding);
    CopyText(copy->reserved, part.reserved);
    CopyText(copy->fileName, part.fileName);
    return copy.release();
}

void FreePart(PartHeaders *part) {
    if (!part)
        return;
    free(const_cast<char *>(part->body));
    free(part);
}
