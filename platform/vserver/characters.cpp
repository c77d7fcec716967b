// Characters and entities of a page.

#include "system/utf8.h"
#include "vserver/markup.h"

#include <optional>

namespace vserver {
namespace {

/// The number of bytes at the start of `text` that are ASCII and stay as they are.
size_t PlainRun(std::string_view text) {
    char const *const start = text.data(), *const end = start + text.size(), *at = start;
    while (at != end && ((*at >= ' ' && *at <= '~') || *at == '\n' || *at == '\t'))
        ++at;
    return static_cast<size_t>(at - start);
}

bool IsUtf8(std::string_view text) {
    for (;;) {
        text.remove_prefix(PlainRun(text));
        if (text.empty())
            return true;
        Utf8Character const character = Utf8At(text);
        if (!character.valid)
            return false;
        text.remove_prefix(character.bytes);
    }
}

/// Whether a character may be shown. Qt's documents use U+FDD0, U+FDD1 and U+FFFC for their own structure.
bool IsShowable(char32_t point) {
    if (point < 0x20)
        return point == '\t' || point == '\n';
    if (point >= 0xD800 && point <= 0xDFFF)
        return false;
    return point != 0x7F && !(point >= 0xFDD0 && point <= 0xFDEF) && point != 0xFFFC && (point & 0xFFFE) != 0xFFFE &&
           point <= 0x10FFFF;
}

struct Entity {
    size_t length;                 ///< with "&" and ";"
    std::optional<uint32_t> point; ///< the character of a numeric one
    std::string_view name;         ///< of a named one
};

bool IsDigit(char c) { return c >= '0' && c <= '9'; }
bool IsLetter(char c) { return LowerCase(c) >= 'a' && LowerCase(c) <= 'z'; }

/// The numeric entity that `text` ("&#...") starts with. The ";" may be missing.
std::optional<Entity> NumericEntity(std::string_view text) {
    size_t at = 2;
    bool const hexadecimal = at < text.size() && LowerCase(text[at]) == 'x';
    at += hexadecimal;
    uint32_t point = 0;
    size_t const start = at;
    for (; at < text.size(); ++at) {
        char const c = LowerCase(text[at]);
        uint32_t digit;
        if (IsDigit(c))
            digit = static_cast<uint32_t>(c - '0');
        else if (hexadecimal && c >= 'a' && c <= 'f')
            digit = static_cast<uint32_t>(c - 'a' + 10);
        else
            break;
        if (point <= 0x10FFFF)
            point = point * (hexadecimal ? 16 : 10) + digit;
    }
    if (at == start)
        return std::nullopt;
    if (at < text.size() && text[at] == ';')
        ++at;
    return Entity{at, IsShowable(point) ? point : 0xFFFDu, {}};
}

/// The entity that `text` starts with; nothing when its "&" is just an ampersand.
std::optional<Entity> FindEntity(std::string_view text) {
    if (text.size() < 3)
        return std::nullopt;
    if (text[1] == '#')
        return NumericEntity(text);
    size_t at = 1;
    while (at < text.size() && at < 32 && (IsLetter(text[at]) || (at > 1 && IsDigit(text[at]))))
        ++at;
    if (at == 1 || at == text.size() || text[at] != ';')
        return std::nullopt;
    return Entity{at + 1, std::nullopt, text.substr(1, at - 1)};
}

void AppendEscaped(std::string &html, char c) {
    switch (c) {
    case '<':
        html += "&lt;";
        break;
    case '>':
        html += "&gt;";
        break;
    case '&':
        html += "&amp;";
        break;
    case '"':
        html += "&quot;";
        break;
    default:
        html.push_back(c);
    }
}

void AppendEscapedPoint(std::string &html, uint32_t point) {
    if (point < 0x80)
        AppendEscaped(html, static_cast<char>(point));
    else
        AppendUtf8(html, point);
}

} // namespace

std::string PageText(std::string_view bytes) {
    bool const utf8 = IsUtf8(bytes);
    std::string text;
    text.reserve(bytes.size() + (utf8 ? 0 : bytes.size() / 4));
    for (;;) {
        size_t const plain = PlainRun(bytes);
        text.append(bytes.substr(0, plain));
        bytes.remove_prefix(plain);
        if (bytes.empty())
            break;
        Utf8Character const character = Utf8At(bytes);
        char32_t const code = character.code;
        size_t const length = utf8 ? character.bytes : 1;
        if (code == '\r') {
            if (bytes.size() == 1 || bytes[1] != '\n')
                text.push_back('\n');
        } else if (code == '\f') {
            text.push_back(' ');
        } else if (!utf8 && static_cast<unsigned char>(bytes[0]) >= 0x80) {
            AppendUtf8(text, static_cast<unsigned char>(bytes[0]));
        } else if (IsShowable(code)) {
            text.append(bytes.substr(0, length));
        }
        bytes.remove_prefix(length);
    }
    return text;
}

void AppendText(std::string &html, std::string_view text) {
    while (!text.empty()) {
        size_t const plain = std::min(text.find_first_of("&<>"), text.size());
        html.append(text.substr(0, plain));
        text.remove_prefix(plain);
        if (text.empty())
            break;
        std::optional<Entity> const entity = text[0] == '&' ? FindEntity(text) : std::nullopt;
        if (!entity)
            AppendEscaped(html, text[0]);
        else if (entity->point)
            AppendEscapedPoint(html, *entity->point);
        else
            html.append(text.substr(0, entity->length));
        text.remove_prefix(entity ? entity->length : 1);
    }
}

void AppendAttribute(std::string &html, std::string_view value) {
    for (char const c : value)
        AppendEscaped(html, c);
}

std::string DecodeAttribute(std::string_view raw) {
    static constexpr struct {
        std::string_view name;
        char character;
    } kNames[] = {{"amp", '&'}, {"lt", '<'}, {"gt", '>'}, {"quot", '"'}, {"apos", '\''}};
    std::string value;
    while (!raw.empty()) {
        std::optional<Entity> const entity = raw[0] == '&' ? FindEntity(raw) : std::nullopt;
        if (!entity) {
            value.push_back(raw[0]);
            raw.remove_prefix(1);
            continue;
        }
        bool known = false;
        if (entity->point)
            AppendUtf8(value, *entity->point);
        for (auto const &[name, character] : kNames) {
            if (entity->name == name) {
                value.push_back(character);
                known = true;
            }
        }
        if (!entity->point && !known)
            value.append(raw.substr(0, entity->length));
        raw.remove_prefix(entity->length);
    }
    return value;
}

} // namespace vserver
