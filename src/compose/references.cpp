#include "compose/references.h"

#include "base/text.h"

#include <algorithm>
#include <vector>

namespace {

constexpr size_t kLongestLine = 998 - std::string_view("REFERENCES: ").size();
constexpr size_t kLongestIdentifier = 250;
constexpr size_t kLongestField = 1 << 20; ///< a field that goes on longer is cut

bool IsBlank(char byte) { return byte == ' ' || byte == '\t'; }

/// Appends a line's bytes; control characters end nothing and mean nothing here.
void AppendPlain(std::string &value, std::string_view line) {
    for (char const byte : line.substr(0, kLongestField - std::min(value.size(), kLongestField)))
        if (byte == '\t')
            value += ' ';
        else if (static_cast<unsigned char>(byte) >= ' ' && byte != 127)
            value += byte;
}

/// The identifiers of a References field, "<...>" each.
std::vector<std::string_view> Identifiers(std::string_view field) {
    std::vector<std::string_view> found;
    for (size_t begin = field.find('<'); begin != field.npos; begin = field.find('<', begin + 1)) {
        size_t const end = field.find_first_of("<> ", begin + 1);
        if (end != field.npos && field[end] == '>' && end + 1 - begin <= kLongestIdentifier && end > begin + 1)
            found.push_back(field.substr(begin, end + 1 - begin));
    }
    return found;
}

} // namespace

std::string UnfoldedField(std::string_view message, std::string_view name) {
    std::string value;
    bool inside = false;
    while (!message.empty()) {
        size_t const end = std::min(message.find('\n'), message.size());
        std::string_view line = message.substr(0, end);
        message.remove_prefix(std::min(end + 1, message.size()));
        if (line.ends_with('\r'))
            line.remove_suffix(1);
        if (line.empty())
            break;
        if (inside && !IsBlank(line[0]))
            break;
        if (!inside && line.size() > name.size() && line[name.size()] == ':' && StartsWithNoCase(line, name)) {
            inside = true;
            line.remove_prefix(name.size() + 1);
        }
        if (inside)
            AppendPlain(value, line);
    }
    value.erase(0, std::min(value.find_first_not_of(' '), value.size()));
    value.erase(value.find_last_not_of(' ') + 1);
    return value;
}

std::string ReplyReferences(std::string_view article) {
    std::string const all = UnfoldedField(article, "References") + " " + UnfoldedField(article, "Message-ID");
    std::vector<std::string_view> const identifiers = Identifiers(all);
    if (identifiers.empty())
        return {};
    std::string newest;
    size_t const room = kLongestLine - identifiers[0].size();
    for (size_t i = identifiers.size() - 1; i > 0 && newest.size() + 1 + identifiers[i].size() <= room; i--)
        newest.insert(0, " " + std::string(identifiers[i]));
    return std::string(identifiers[0]) + newest;
}

std::string ReplyGroups(std::string_view article) {
    std::string groups = UnfoldedField(article, "Followup-To");
    std::erase(groups, ' ');
    if (groups.empty()) {
        groups = UnfoldedField(article, "Newsgroups");
        std::erase(groups, ' ');
    }
    return EqualNoCase(groups, "poster") ? "poster" : groups;
}
