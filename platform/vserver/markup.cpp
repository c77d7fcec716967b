// Tags and attributes of a page.

#include "markup.h"

#include <algorithm>

namespace vserver {
namespace {

constexpr uint16_t Bits(std::initializer_list<Attribute> attributes) {
    unsigned bits = 0;
    for (Attribute const attribute : attributes)
        bits |= 1u << attribute;
    return static_cast<uint16_t>(bits);
}

constexpr uint16_t kAlignOnly = Bits({kAlign});
constexpr uint16_t kCellAttributes = Bits({kBgcolor, kWidth, kAlign, kValign});

// Sorted by name.
constexpr Tag kTags[] = {
    {"a", "a", Role::Anchor, Bits({kHref})},
    {"address", "address", Role::Block, 0},
    {"applet", "", Role::Content, 0},
    {"audio", "", Role::Content, 0},
    {"b", "b", Role::Inline, 0},
    {"big", "big", Role::Inline, 0},
    {"blockquote", "blockquote", Role::Block, 0},
    {"body", "body", Role::Body, Bits({kBgcolor})},
    {"br", "br", Role::Void, 0},
    {"canvas", "", Role::Content, 0},
    {"caption", "", Role::Section, 0},
    {"center", "center", Role::Block, 0},
    {"cite", "cite", Role::Inline, 0},
    {"code", "code", Role::Inline, 0},
    {"colgroup", "", Role::Section, 0},
    {"dd", "dd", Role::Item, 0},
    {"del", "s", Role::Inline, 0},
    {"div", "div", Role::Block, kAlignOnly},
    {"dl", "dl", Role::List, 0},
    {"dt", "dt", Role::Item, 0},
    {"em", "em", Role::Inline, 0},
    {"font", "font", Role::Inline, Bits({kColor, kSize})},
    {"h1", "h1", Role::Block, kAlignOnly},
    {"h2", "h2", Role::Block, kAlignOnly},
    {"h3", "h3", Role::Block, kAlignOnly},
    {"h4", "h4", Role::Block, kAlignOnly},
    {"h5", "h5", Role::Block, kAlignOnly},
    {"h6", "h6", Role::Block, kAlignOnly},
    {"hr", "hr", Role::Void, Bits({kWidth, kAlign, kSize})},
    {"i", "i", Role::Inline, 0},
    {"iframe", "", Role::Content, 0},
    {"img", "img", Role::Image, Bits({kSrc, kWidth, kHeight})},
    {"kbd", "kbd", Role::Inline, 0},
    {"li", "li", Role::Item, 0},
    {"math", "", Role::Content, 0},
    {"noembed", "", Role::Content, 0},
    {"noframes", "", Role::Content, 0},
    {"object", "", Role::Content, 0},
    {"ol", "ol", Role::List, 0},
    {"p", "p", Role::Paragraph, kAlignOnly},
    {"pre", "pre", Role::Block, 0},
    {"s", "s", Role::Inline, 0},
    {"samp", "samp", Role::Inline, 0},
    {"script", "", Role::Content, 0},
    {"select", "", Role::Content, 0},
    {"small", "small", Role::Inline, 0},
    {"span", "span", Role::Inline, 0},
    {"strike", "s", Role::Inline, 0},
    {"strong", "strong", Role::Inline, 0},
    {"style", "", Role::Content, 0},
    {"sub", "sub", Role::Inline, 0},
    {"sup", "sup", Role::Inline, 0},
    {"svg", "", Role::Content, 0},
    {"table", "table", Role::Table, Bits({kBgcolor, kWidth, kBorder, kAlign})},
    {"tbody", "", Role::Section, 0},
    {"td", "td", Role::Cell, kCellAttributes},
    {"template", "", Role::Content, 0},
    {"textarea", "", Role::Content, 0},
    {"tfoot", "", Role::Section, 0},
    {"th", "th", Role::Cell, kCellAttributes},
    {"thead", "", Role::Section, 0},
    {"title", "", Role::Content, 0},
    {"tr", "tr", Role::Row, Bits({kBgcolor, kAlign, kValign})},
    {"tt", "tt", Role::Inline, 0},
    {"u", "u", Role::Inline, 0},
    {"ul", "ul", Role::List, 0},
    {"var", "var", Role::Inline, 0},
    {"video", "", Role::Content, 0},
};
static_assert(std::size(kTags) <= kMaxTagCount);
static_assert(std::is_sorted(std::begin(kTags), std::end(kTags),
                             [](Tag const &left, Tag const &right) { return left.name < right.name; }));

constexpr std::string_view kAttributeNames[kAttributeCount] = {"bgcolor", "width", "height", "border", "align",
                                                               "valign",  "color", "size",   "src",    "href"};

bool IsDigit(char c) { return c >= '0' && c <= '9'; }

/// A colour name or "#" and 3 or 6 hexadecimal digits.
bool IsColor(std::string_view value) {
    bool const number = !value.empty() && value[0] == '#';
    if (number)
        value.remove_prefix(1);
    auto const good = [&](char c) {
        c = LowerCase(c);
        return number ? IsDigit(c) || (c >= 'a' && c <= 'f') : c >= 'a' && c <= 'z';
    };
    bool const length = number ? value.size() == 3 || value.size() == 6 : !value.empty() && value.size() <= 20;
    return length && std::all_of(value.begin(), value.end(), good);
}

bool IsOneOf(std::string_view value, std::initializer_list<std::string_view> words) {
    return std::any_of(words.begin(), words.end(), [&](auto word) { return EqualNoCase(value, word); });
}

/// The alignment a tag may have. A table or image at the side would float, and what flows around it is where Qt's
/// layout is slowest.
bool IsAlignment(Tag const &tag, std::string_view value) {
    if (tag.role == Role::Table)
        return EqualNoCase(value, "center");
    return IsOneOf(value, {"left", "right", "center", "justify"});
}

/// "80%" or "300" with bounds.
std::string Width(std::string_view value) {
    bool const percent = !value.empty() && value.back() == '%';
    unsigned const number = Pixels(value, percent ? 100 : 2000, 0);
    if (number == 0)
        return {};
    return std::to_string(number) + (percent ? "%" : "");
}

/// A font's size, "1" to "7" or "-7" to "+7"; a line's height, "1" to "50".
std::string Size(Tag const &tag, std::string_view value) {
    if (tag.role == Role::Void)
        return std::to_string(Pixels(value, 50, 2));
    std::string sign;
    if (!value.empty() && (value[0] == '+' || value[0] == '-')) {
        sign = value[0];
        value.remove_prefix(1);
    }
    unsigned const number = Pixels(value, 7, 0);
    return number == 0 ? std::string() : sign + std::to_string(number);
}

/// The harmless form of a value, empty when there is none.
std::string SafeValue(Tag const &tag, Attribute attribute, std::string_view value) {
    switch (attribute) {
    case kBgcolor:
    case kColor:
        return IsColor(value) ? std::string(value) : std::string();
    case kWidth:
        return Width(value);
    case kBorder:
        return std::to_string(Pixels(value, 20, 1));
    case kAlign:
        return IsAlignment(tag, value) ? std::string(value) : std::string();
    case kValign:
        return IsOneOf(value, {"top", "middle", "bottom"}) ? std::string(value) : std::string();
    case kSize:
        return Size(tag, value);
    default:
        return {};
    }
}

} // namespace

bool EqualNoCase(std::string_view left, std::string_view right) {
    return left.size() == right.size() && std::equal(left.begin(), left.end(), right.begin(),
                                                     [](char l, char r) { return LowerCase(l) == LowerCase(r); });
}

std::string_view Trimmed(std::string_view text) {
    while (!text.empty() && IsBlank(text.front()))
        text.remove_prefix(1);
    while (!text.empty() && IsBlank(text.back()))
        text.remove_suffix(1);
    return text;
}

Tag const *FindTag(std::string_view name) {
    constexpr size_t kLongest = 10; // "blockquote"
    if (name.empty() || name.size() > kLongest)
        return nullptr;
    char lower[kLongest];
    std::transform(name.begin(), name.end(), lower, LowerCase);
    std::string_view const wanted(lower, name.size());
    auto const found = std::lower_bound(std::begin(kTags), std::end(kTags), wanted,
                                        [](Tag const &tag, std::string_view value) { return tag.name < value; });
    return found != std::end(kTags) && found->name == wanted ? found : nullptr;
}

size_t TagIndex(Tag const *tag) { return static_cast<size_t>(tag - kTags); }

Attribute FindAttribute(std::string_view name) {
    for (size_t i = 0; i < kAttributeCount; ++i)
        if (EqualNoCase(name, kAttributeNames[i]))
            return static_cast<Attribute>(i);
    return kAttributeCount;
}

void AppendAttributes(std::string &html, Tag const &tag, Attributes const &attributes) {
    for (size_t i = 0; i < kAttributeCount; ++i) {
        if (!(tag.attributes & 1u << i) || attributes[i].data() == nullptr)
            continue;
        std::string const value =
            SafeValue(tag, static_cast<Attribute>(i), Trimmed(DecodeAttribute(attributes[i].substr(0, 64))));
        if (value.empty())
            continue;
        html.append(" ").append(kAttributeNames[i]).append("=\"");
        AppendAttribute(html, value);
        html.push_back('"');
    }
}

unsigned Pixels(std::string_view raw, unsigned most, unsigned otherwise) {
    if (raw.empty() || !IsDigit(raw[0]))
        return otherwise;
    unsigned number = 0;
    for (size_t i = 0; i < raw.size() && IsDigit(raw[i]) && number <= most; ++i)
        number = number * 10 + static_cast<unsigned>(raw[i] - '0');
    return std::min(number, most);
}

std::string LinkAddress(std::string_view raw) {
    constexpr size_t kLongest = 2000;
    if (raw.size() > 2 * kLongest)
        return {};
    std::string const decoded = DecodeAttribute(raw);
    std::string_view const address = Trimmed(decoded);
    auto const control = [](char c) { return static_cast<unsigned char>(c) < 0x20 || c == 0x7F; };
    if (address.size() > kLongest || std::any_of(address.begin(), address.end(), control))
        return {};
    for (std::string_view const scheme : {"http://", "https://", "mailto:"})
        if (address.size() > scheme.size() && EqualNoCase(address.substr(0, scheme.size()), scheme))
            return std::string(address);
    return {};
}

} // namespace vserver
