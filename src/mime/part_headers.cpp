#include "mime/part_headers.h"

#include "base/text.h"
#include "mime/lines.h"
#include "mime/recipients.h"

#include <algorithm>
#include <cstring>
#include <limits>

namespace {

constexpr size_t kLineWidth = 1001; ///< lines of up to 1000 bytes

/// Copies what follows a parameter's name into a field and removes the quotes.
template <size_t Width> void TakeParameter(char (&field)[Width], std::string_view value) {
    CopyText(field, value);
    StripQuotes(field);
}

/// Copies a parameter that starts a continuation line. kept: it comes from `offset` on without the line's last two
/// bytes, taken for a quote and a CR, and what was in the field after the copy stays
template <size_t Width> void TakeBlankParameter(char (&field)[Width], std::string_view line, size_t offset) {
    if (line.size() <= offset + 2)
        return;
    size_t const length = std::min(line.size() - offset - 2, Width - 1);
    memcpy(field, line.data() + offset, length);
}

void TakeContentType(PartHeaders &part, std::string_view line) {
    std::string_view const value = line.substr(13);
    CopyText(part.contentType, value.substr(0, value.find(';')));
    int const length = static_cast<int>(line.size());
    char const *found = FindNoCase(line.data(), "name:", length);
    if (!found)
        found = FindNoCase(line.data(), "name=", length);
    if (found)
        TakeParameter(part.name, line.substr(static_cast<size_t>(found - line.data()) + 5));
}

/// What one line of the header block leaves for the next.
struct LineState {
    bool pending = false; ///< parameters may follow
    bool quoted = false;  ///< the name still is as it was copied; going through it at every line would take long
};

/// Takes one line of the header block.
void TakeHeaderLine(PartHeaders &part, std::string_view line, LineState &state) {
    if (state.pending || line[0] == '\t') {
        if (state.quoted)
            StripQuotes(part.name);
        state.quoted = false;
        if (StartsWithNoCase(line, "\tname=\""))
            TakeParameter(part.name, line.substr(7));
        if (StartsWithNoCase(line, "\tfilename=\""))
            TakeParameter(part.fileName, line.substr(11));
    }
    state.pending = false;
    if (line.size() > 13 && StartsWithNoCase(line, "Content-Type:")) {
        TakeContentType(part, line);
        state.pending = true;
    }
    if (StartsWithNoCase(line, "Content-Disposition:"))
        state.pending = true;
    // kept: mailers write "=" and a quote after these; neither is looked at
    if (line.size() > 9 && StartsWithNoCase(line, " filename"))
        TakeBlankParameter(part.fileName, line, 10);
    if (line.size() > 5 && StartsWithNoCase(line, " name")) {
        TakeBlankParameter(part.name, line, 6);
        state.quoted = true;
    }
    if (line.size() > 26 && StartsWithNoCase(line, "Content-Transfer-Encoding:"))
        CopyText(part.encoding, line.substr(26));
}

} // namespace

size_t FindText(std::string_view text, std::string_view sought, size_t from) {
    if (from > text.size())
        return text.npos;
    void const *const found = memmem(text.data() + from, text.size() - from, sought.data(), sought.size());
    return found ? static_cast<size_t>(static_cast<char const *>(found) - text.data()) : text.npos;
}

PartPlace ParsePart(std::string_view text, std::string_view boundary, PartHeaders &part) {
    memset(&part, 0, sizeof part);
    std::string_view rest = text;
    std::string_view line;
    size_t headerBytes = 0;
    LineState state;
    for (;;) {
        line = TakeLine(rest, kLineWidth);
        if (line.empty() || line == boundary)
            break;
        TakeHeaderLine(part, line, state);
        headerBytes += line.size() + 1;
        if (line.size() < 2)
            break;
    }

    PartPlace place{.body = text.size() - rest.size(), .next = text.npos, .resume = 0};
    part.body = rest.data();
    // kept: the two bytes before the boundary are taken for its line end
    place.next = FindText(text, boundary, place.body);
    if (place.next != text.npos && place.next > headerBytes + 2)
        part.bodyLength =
            static_cast<int32_t>(std::min<size_t>(place.next - headerBytes - 2, std::numeric_limits<int32_t>::max()));
    place.resume = place.body;
    if (!line.empty()) {
        place.resume = std::min(place.body + boundary.size() + 1, text.size());
    } else {
        StripQuotes(part.name);
        StripQuotes(part.fileName);
    }
    return place;
}
