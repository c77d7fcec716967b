#include "mime/headers.h"

#include "base/text.h"
#include "mime/escape.h"
#include "mime/lines.h"

#include <algorithm>
#include <cstring>
#include <type_traits>
#include <utility>

namespace {

constexpr size_t kLineWidth = 10240;
constexpr char kBoundaryParameter[] = "BOUNDARY=\"";

/// A header that is recognised, and where its value goes.
struct KnownHeader {
    std::string_view name;
    HeaderState state; ///< what the lines that continue it belong to
    char *(*field)(ParsedHeaders &);
    size_t width;
};

template <auto Member> constexpr KnownHeader Known(std::string_view name, HeaderState state) {
    using Field = std::remove_reference_t<decltype(std::declval<ParsedHeaders &>().*Member)>;
    return {name, state, [](ParsedHeaders &headers) -> char * { return headers.*Member; }, sizeof(Field)};
}

constexpr KnownHeader kHeaders[] = {
    Known<&ParsedHeaders::from>("from:", HeaderState::kFrom),
    Known<&ParsedHeaders::subject>("subject:", HeaderState::kSubject),
    Known<&ParsedHeaders::date>("date:", HeaderState::kDate),
    Known<&ParsedHeaders::to>("to:", HeaderState::kTo),
    Known<&ParsedHeaders::cc>("cc:", HeaderState::kCc),
    Known<&ParsedHeaders::contentType>("content-type:", HeaderState::kContentType),
    Known<&ParsedHeaders::newsgroups>("newsgroups:", HeaderState::kNone),
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
    char const *end_; ///< the LF or NUL after the current line
};

/// The header that a line is, and its value; null for any other line. kept: a header without a value is none
KnownHeader const *Recognize(std::string_view line, std::string_view &value) {
    for (KnownHeader const &known : kHeaders)
        if (line.size() > known.name.size() && StartsWithNoCase(line, known.name)) {
            value = line.substr(known.name.size());
            return &known;
        }
    return nullptr;
}

bool IsContinuation(std::string_view line) { return line[0] == '\t' || line[0] == ' '; }

/// Goes through the header lines of `text` and calls `visit(line)` for each, the last control or 8-bit byte of the
/// line (its CR) cut off. Returns the length of the header lines. kept: the headers end at a line of less than three
/// bytes, a line that nothing follows is not one of them, and a last 8-bit byte is cut like a CR
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

/// kept: only these three go on in further lines
void ContinueHeader(HeaderState state, std::string_view line, ParsedHeaders &headers) {
    if (state == HeaderState::kCc)
        AppendContinuation(headers.cc, line);
    else if (state == HeaderState::kTo)
        AppendContinuation(headers.to, line);
    else if (state == HeaderState::kContentType)
        TakeBoundary(line, headers);
}

/// Stores a header's value and returns what the lines that continue it belong to.
HeaderState StoreHeader(std::string_view line, ParsedHeaders &headers) {
    std::string_view value;
    KnownHeader const *const known = Recognize(line, value);
    if (!known)
        return HeaderState::kNone;
    CopyText(known->field(headers), known->width, value);
    if (known->state == HeaderState::kContentType)
        TakeBoundary(line, headers);
    return known->state;
}

} // namespace

int ParseHeaders(char const *text, ParsedHeaders &headers) {
    memset(&headers, 0, sizeof headers);
    HeaderState state = HeaderState::kNone;
    headers.headerLength = WalkHeaders(text ? text : "", [&](std::string_view line) {
        if (IsContinuation(line))
            ContinueHeader(state, line, headers);
        else
            state = StoreHeader(line, headers);
    });
    return 1;
}

char *FormatHeaderRow(char const *text, char *row, int width) {
    std::string_view subject, from, date;
    WalkHeaders(text ? text : "", [&](std::string_view line) {
        std::string_view value;
        KnownHeader const *const known = Recognize(line, value);
        if (!known)
            return;
        value = value.substr(0, known->width - 1);
        if (known->state == HeaderState::kSubject)
            subject = value;
        else if (known->state == HeaderState::kFrom)
            from = value;
        else if (known->state == HeaderState::kDate)
            date = value;
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
