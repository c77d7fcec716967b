#pragma once
// The cleaner's knowledge of characters, entities, tags and attributes.

#include <array>
#include <cstdint>
#include <string>
#include <string_view>

namespace vserver {

/// The page as UTF-8: unchanged when it is valid UTF-8, else read as Latin-1. Line ends become LF; NUL, other control
/// characters and the noncharacters that Qt marks frames and objects with are left out.
std::string PageText(std::string_view bytes);

/// Appends `text` to `html` so that it shows as it would in the page: named entities stay, numeric ones become their
/// character, a lone "&" and "<", ">" become entities.
void AppendText(std::string &html, std::string_view text);
/// Appends `value` to `html` for use between double quotes.
void AppendAttribute(std::string &html, std::string_view value);
/// The value of an attribute with its entities decoded.
std::string DecodeAttribute(std::string_view raw);

/// What the cleaner does with an element.
enum class Role : uint8_t {
    Unknown, ///< the tag goes, the content stays
    Content, ///< the tag goes with its content
    Body,
    Inline,
    Anchor,
    Block,
    Paragraph,
    List,
    Item,
    Table,
    Section, ///< a part of a table that has no tag of its own in the result
    Row,
    Cell,
    Void,
    Image,
};

enum Attribute : uint8_t {
    kBgcolor,
    kWidth,
    kHeight,
    kBorder,
    kAlign,
    kValign,
    kColor,
    kSize,
    kSrc,
    kHref,
    kAttributeCount
};

struct Tag {
    std::string_view name;
    std::string_view shown; ///< the name in the result
    Role role;
    uint16_t attributes; ///< bits 1 << Attribute
};

/// The tag of a name in any case, null when unknown.
Tag const *FindTag(std::string_view name);
/// Index of a known tag, below kMaxTagCount.
size_t TagIndex(Tag const *tag);
constexpr size_t kMaxTagCount = 96;

/// Raw values of the attributes found in a tag; empty ones are absent.
using Attributes = std::array<std::string_view, kAttributeCount>;

/// kAttributeCount when the name is none of ours.
Attribute FindAttribute(std::string_view name);

/// Appends those of `attributes` that the tag may have and whose values are well formed, sizes clamped. Images and
/// links are for the cleaner itself.
void AppendAttributes(std::string &html, Tag const &tag, Attributes const &attributes);

/// A decimal number of pixels at the start of a value: clamped to `most`, `otherwise` when there is none.
unsigned Pixels(std::string_view raw, unsigned most, unsigned otherwise);

/// The address of a link: trimmed, http, https or mailto; empty for anything else.
std::string LinkAddress(std::string_view raw);

inline char LowerCase(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c; }
inline bool IsBlank(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\f'; }
inline bool IsContinuation(char c) { return (static_cast<unsigned char>(c) & 0xC0) == 0x80; } ///< of UTF-8
bool EqualNoCase(std::string_view left, std::string_view right);
std::string_view Trimmed(std::string_view text);

} // namespace vserver
