#include "mime/headers.h"

#include "base/text.h"
#include "mime/escape.h"

#include <algorithm>
#include <cstring>

namespace {

constexpr size_t kLineWidth = 10240;
constexpr char kBoundaryParameter[] = "BOUNDARY=\"";

enum class Header { kNone, kFrom, kSubject, kDate, kTo, kCc, kContentType, kNewsgroups };

struct HeaderName {
    Header header;
    std::string_view name;
};
constexpr HeaderName kNames[] = {
    {Header::kFrom, "from:"},
    {Header::kSubject, "subject:"},
    {Header::kDate, "date:"},
    {Header::kTo, "to:"},
    {Header::kCc, "cc:"},
    {Header::kContentType, "content-type:"},
    {Header::kNewsgroups, "newsgroups:"},
};

/// The lines of a NUL-terminated text whose length is not known, each byte looked at once.
class LineCursor {
  public:
    explicit LineCursor(char const *text) : at_(text), end_(text) { FindEnd(); }

    char const *At() const { return at_; }
    bool AtEnd() const { return *at_ == 0; }

    /// As TakeLine. A line longer than the width comes in pieces.
    std::string_view Take(size_t width) {
        size_t const length = static_cast<size_t>(end_ - at_);
        std::string_view const line(at_, std::min(length, width - 1));
        at_ += line.size();
        if (at_ == end_ && *end_ == '\n') {
            at_++;
            FindEnd();
        }
        return line;
    }

  private:
    void FindEnd() { end_ = strchrnul(at_, '\n'); }

    char const *at_;
    char const *end_; ///< the LF or NUL behind the current line
};

/// The header that a line is, and its value. A header without a value is none.
Header Recognize(std::string_view line, std::string_view &value) {
    for (HeaderName const &known : kNames)
        if (line.size() > known.name.size() && StartsWithNoCase(line, known.name)) {
            value = line.substr(known.name.size());
            return known.header;
        }
    return Header::kNone;
}

bool IsContinuation(std::string_view line) { return line[0] == '\t' || line[0] == ' '; }

/// Goes through the header lines of `text` and calls `visit(line)` for each, the last control or 8-bit byte of the
/// line (its CR) cut off. The headers end at a line of less than three bytes, and a line that nothing follows is not
/// one of them. Returns the length of the header lines.
template <class Visit> uint32_t WalkHeaders(char const *text, Visit visit) {
    LineCursor lines(text);
    size_t length = 0;
    size_t consumed = 0;
    for (;;) {
        std::string_view line = lines.Take(kLineWidth);
        if (line.size() < 3 || lines.AtEnd())
            break;
        length += line.size() + 1;
        consumed = static_cast<size_t>(lines.At() - text);
        if (static_cast<signed char>(line.back()) < 20)
            line.remove_suffix(1);
        visit(line);
    }
    // Each piece of an overlong line counts a LF; together they must not lead out of the text.
    if (length > consumed)
        length = consumed + strnlen(text + consumed, length - consumed);
    return static_cast<uint32_t>(length);
}

/// Takes the boundary from a line with the parameter in double quotes.
void TakeBoundary(std::string_view line, ParsedHeaders &headers) {
    // The line is not terminated; its size bounds the search.
    char const *const found = FindNoCase(line.data(), kBoundaryParameter, static_cast<int>(line.size()));
    if (!found)
        return;
    size_t const offset = static_cast<size_t>(found - line.data()) + sizeof kBoundaryParameter - 1;
    std::string_view const parameter = line.substr(std::min(offset, line.size()));
    CopyText(headers.boundary, "--");
    AppendText(headers.boundary, parameter.substr(0, parameter.find('"')));
}

/// Appends a whole continuation line, escaped for the page.
template <size_t Width> void AppendContinuation(char (&field)[Width], std::string_view line) {
    char text[kLineWidth];
    CopyText(text, line);
    HtmlEscapeAppend(field, Width, text);
}

Header ContinueHeader(Header current, std::string_view line, ParsedHeaders &headers) {
    if (current == Header::kCc)
        AppendContinuation(headers.cc, line);
    else if (current == Header::kTo)
        AppendContinuation(headers.to, line);
    else if (current == Header::kContentType)
        TakeBoundary(line, headers);
    return current;
}

/// Stores a header's value and returns the header that continuation lines belong to.
Header StoreHeader(std::string_view line, ParsedHeaders &headers) {
    std::string_view value;
    Header const header = Recognize(line, value);
    switch (header) {
    case Header::kFrom:
        CopyText(headers.from, value);
        break;
    case Header::kSubject:
        CopyText(headers.subject, value);
        break;
    case Header::kDate:
        CopyText(headers.date, value);
        break;
    case Header::kTo:
        CopyText(headers.to, value);
        break;
    case Header::kCc:
        CopyText(headers.cc, value);
        break;
    case Header::kContentType:
        CopyText(headers.contentType, value);
        TakeBoundary(line, headers);
        break;
    case Header::kNewsgroups:
        CopyText(headers.newsgroups, value);
        return Header::kNone;
    case Header::kNone:
        break;
    }
    return header;
}

} // namespace

int ParseHeaders(char const *text, ParsedHeaders &headers) {
    memset(&headers, 0, sizeof headers);
    Header current = Header::kNone;
    headers.headerLength = WalkHeaders(text ? text : "", [&](std::string_view line) {
        current = IsContinuation(line) ? ContinueHeader(current, line, headers) : StoreHeader(line, headers);
    });
    return 1;
}

char *FormatHeaderRow(char const *text, char *row, int width) {
    std::string_view subject, from, date;
    WalkHeaders(text ? text : "", [&](std::string_view line) {
        std::string_view value;
        switch (Recognize(line, value)) {
        case Header::kSubject:
            subject = value.substr(0, sizeof ParsedHeaders::subject - 1);
            break;
        case Header::kFrom:
            from = value.substr(0, sizeof ParsedHeaders::from - 1);
            break;
        case Header::kDate:
            date = value.substr(0, sizeof ParsedHeaders::date - 1);
            break;
        default:
            break;
        }
    });
    if (width < 1)
        return row;
    size_t const size = static_cast<size_t>(width);
    CopyText(row, size, " \t");
    for (std::string_view value : {subject, from, date}) {
        AppendText(row, size, value);
        AppendText(row, size, "\t");
    }
    return row;
}
