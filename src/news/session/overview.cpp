#include "news/session/overview.h"

#include "base/text.h"

namespace {

constexpr int kFieldsBeforeMessageId = 4;

/// Takes the text up to the first tab off, and the tab.
std::string_view TakeField(std::string_view &rest) {
    size_t const end = rest.find('\t');
    std::string_view const field = rest.substr(0, end);
    rest.remove_prefix(end == std::string_view::npos ? rest.size() : end + 1);
    return field;
}

} // namespace

OverviewLine ParseOverviewLine(std::string_view line) {
    line = line.substr(0, kOverviewWidth);
    line = line.substr(0, line.find('\0'));
    line = line.substr(0, line.find('\r'));
    size_t const tab = line.find('\t');
    OverviewLine parsed{LeadingNumber(line), tab == std::string_view::npos ? line : line.substr(tab), {}, {}};
    for (int field = 0; field < kFieldsBeforeMessageId; field++)
        TakeField(line);
    parsed.messageId = TakeField(line);
    parsed.references = TakeField(line);
    return parsed;
}

std::string_view ParentOf(std::string_view references) {
    size_t const start = references.rfind('<');
    return start == std::string_view::npos ? std::string_view() : references.substr(start);
}
