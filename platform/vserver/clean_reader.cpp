#include "clean_reader.h"

namespace vserver {
namespace {

bool EndsName(char c) { return IsBlank(c) || c == '>' || c == '/'; }

} // namespace

std::string_view Reader::Name() {
    size_t end = at_;
    while (end < page_.size() && !EndsName(page_[end]))
        ++end;
    return Take(end);
}

bool Reader::SkipBehind(std::string_view end, bool &missing) {
    size_t const found = missing ? std::string_view::npos : page_.find(end, at_);
    missing = found == std::string_view::npos;
    if (!missing)
        at_ = found + end.size();
    return !missing;
}

bool Reader::SkipContent(std::string_view name, bool &missing) {
    for (size_t from = at_; !missing;) {
        size_t const found = page_.find("</", from);
        if (found == std::string_view::npos) {
            missing = true;
        } else if (EqualNoCase(page_.substr(found + 2, name.size()), name)) {
            at_ = found;
            return true;
        } else {
            from = found + 2;
        }
    }
    return false;
}

Attributes Reader::ReadAttributes() {
    Attributes found{};
    while (!AtEnd()) {
        while (!AtEnd() && (IsBlank(page_[at_]) || page_[at_] == '/'))
            ++at_;
        if (AtEnd() || page_[at_] == '>') {
            Skip(1);
            break;
        }
        size_t const start = at_++;
        while (!AtEnd() && !EndsName(page_[at_]) && page_[at_] != '=')
            ++at_;
        Attribute const attribute = FindAttribute(page_.substr(start, at_ - start));
        std::string_view const value = Value();
        if (attribute != kAttributeCount && found[attribute].data() == nullptr)
            found[attribute] = value;
    }
    return found;
}

std::string_view Reader::Take(size_t end) {
    std::string_view const taken = page_.substr(at_, end - at_);
    at_ = end;
    return taken;
}

std::string_view Reader::Value() {
    size_t next = at_;
    while (next < page_.size() && IsBlank(page_[next]))
        ++next;
    if (next == page_.size() || page_[next] != '=')
        return page_.substr(at_, 0);
    at_ = next + 1;
    while (!AtEnd() && IsBlank(page_[at_]))
        ++at_;
    char const quote = Peek(0);
    if (quote == '"' || quote == '\'') {
        bool &missing = quote == '"' ? no_double_ : no_single_;
        size_t const end = missing ? std::string_view::npos : page_.find(quote, at_ + 1);
        missing = end == std::string_view::npos;
        ++at_;
        if (!missing) {
            std::string_view const value = Take(end);
            Skip(1);
            return value;
        }
    }
    size_t end = at_;
    while (end < page_.size() && !IsBlank(page_[end]) && page_[end] != '>')
        ++end;
    return Take(end);
}

} // namespace vserver
