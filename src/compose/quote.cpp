#include "compose/quote.h"

#include "base/text.h"
#include "base/utf8.h"
#include "mime/lines.h"
#include "mime/recipients.h"
#include "mime/render.h"

#include <algorithm>
#include <cstring>

namespace {

constexpr size_t kQuotedLineWidth = 10240;
constexpr int kRecipientWidth = 500;
constexpr std::string_view kNotQuoted =
    "[The message is longer than what is quoted here: its source shows all of it.]";

/// The list after its next separator; null at its end.
char const *NextEntry(char const *list) {
    list += strcspn(list, ",;");
    return *list ? list + 1 : nullptr;
}

/// The search cuts the address to the entry's length.
bool Holds(char const *entry, char const *own) {
    size_t const length = strlen(entry);
    return own[0] && strlen(own) <= length && FindNoCase(entry, own, static_cast<int>(length));
}

/// Whether the skip mark starts in `line`, which `rest` of the page follows.
bool StartsSkipMark(std::string_view line, std::string_view rest) {
    std::string_view const mark = kSkipMark;
    size_t const after = static_cast<size_t>(rest.data() + rest.size() - line.data()) - line.size();
    std::string_view const seen(line.data(), line.size() + std::min(after, mark.size() - 1));
    return seen.find(mark) != seen.npos;
}

} // namespace

std::string QuotePage(std::string_view page) {
    page = page.substr(0, page.find('\0'));
    std::string_view const start = kMessageStartMark, end = kMessageEndMark;
    std::string quote = "\n\n\n--Original Message:\n>";
    // kept: what stands in the start mark's line, the first one of a multipart text, is not quoted.
    while (!page.empty() && TakeLine(page, kQuotedLineWidth).find(start) == page.npos) {
    }
    quote.reserve(std::min(quote.size() + page.size() + page.size() / 16, kTextPartBytes + kQuotedLineWidth));
    bool skipped = false; // up to its line feed, also where a line breaks for its length
    for (size_t lines = 0; !page.empty(); lines++) {
        std::string_view const line = TakeLine(page, kQuotedLineWidth);
        if (line.find(end) != line.npos)
            break;
        if (lines == kTextPartLines || quote.size() > kTextPartBytes) {
            quote.append("\n>\n>").append(kNotQuoted);
            break;
        }
        skipped = skipped || StartsSkipMark(line, page);
        if (!skipped)
            quote.append("\n>").append(line);
        if (page.data() != line.data() + line.size())
            skipped = false;
    }
    return quote;
}

// kept: a subject's leading blank, which stands after the colon of its field, comes after "Re: " as well.
std::string ReplySubject(std::string_view subject) {
    std::string_view const trimmed = subject.substr(std::min(subject.find_first_not_of(' '), subject.size()));
    if (trimmed.size() >= 4 && StartsWithNoCase(trimmed, "re:"))
        return std::string(trimmed);
    return "Re: " + std::string(subject);
}

std::string ForwardSubject(std::string_view subject) { return "Fwd: " + std::string(subject); }

std::string AddRecipients(std::string field, char const *list, char const *own, bool leadingComma) {
    char entry[kRecipientWidth];
    bool comma = leadingComma || !field.empty();
    while (list && *list) {
        char const *const rest = ExtractRecipient(list, entry, sizeof entry, false);
        list = rest ? rest : NextEntry(list);
        if (!entry[0] || !entry[1] || Holds(entry, own))
            continue;
        if (comma)
            field += ", ";
        field += entry;
        comma = true;
    }
    return field;
}
