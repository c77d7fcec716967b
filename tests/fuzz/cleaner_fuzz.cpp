// sources: platform/vserver/clean.cpp platform/vserver/clean_budget.cpp platform/vserver/clean_reader.cpp
// sources: platform/vserver/markup.cpp platform/vserver/characters.cpp platform/system/utf8.cpp
// Whatever comes in, the cleaner's result is small, well nested and names nothing but its own images and frames.

#include "fuzz_input.h"

#include "vserver/clean.h"
#include "vserver/markup.h"
#include "vserver/protocol.h"

#include <vector>

namespace {

bool IsEmptyElement(std::string_view name) { return name == "br" || name == "hr" || name == "img" || name == "body"; }

/// `rest`: what follows a tag's name, a sequence of ` name="value"`.
void CheckAttributes(std::string_view rest) {
    while (!rest.empty()) {
        size_t const equals = rest.find("=\"");
        Require(rest[0] == ' ' && equals != std::string_view::npos);
        std::string_view const name = rest.substr(1, equals - 1);
        size_t const end = rest.find('"', equals + 2);
        Require(vserver::FindAttribute(name) != vserver::kAttributeCount && end != std::string_view::npos);
        std::string_view const value = rest.substr(equals + 2, end - equals - 2);
        bool known = name != "src" && name != "href";
        for (std::string_view const start : {"img:", "frame:", "http://", "https://", "mailto:"})
            known = known || vserver::EqualNoCase(value.substr(0, start.size()), start);
        Require(known);
        rest.remove_prefix(end + 1);
    }
}

} // namespace

FUZZ(cleaner) {
    vserver::CleanPage const page = vserver::CleanHtml({reinterpret_cast<char const *>(data), size});
    Require(page.html.size() <= vserver::kMaxCleanBytes && page.images.size() <= vserver::kMaxImages);
    for (std::string const &name : page.images)
        Require(vserver::IsPlainImageName(name));
    std::vector<std::string_view> open;
    std::string_view html = page.html;
    for (size_t at = html.find('<'); at != std::string_view::npos; at = html.find('<', at + 1)) {
        size_t const end = html.find('>', at);
        Require(end != std::string_view::npos);
        bool const closing = html[at + 1] == '/';
        std::string_view const tag = html.substr(at + 1 + closing, end - at - 1 - closing);
        std::string_view const name = tag.substr(0, tag.find(' '));
        Require(vserver::FindTag(name) != nullptr);
        CheckAttributes(tag.substr(name.size()));
        if (closing) {
            Require(!open.empty() && open.back() == name);
            open.pop_back();
        } else if (!IsEmptyElement(name)) {
            open.push_back(name);
            Require(open.size() <= vserver::kMaxNesting + 8);
        }
    }
    Require(open.empty());
}
