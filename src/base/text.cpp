#include "base/text.h"

#include <algorithm>
#include <charconv>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <limits>

namespace {

char LowerAscii(char byte) { return byte >= 'A' && byte <= 'Z' ? static_cast<char>(byte - 'A' + 'a') : byte; }

bool IsDigit(char byte) { return byte >= '0' && byte <= '9'; }

} // namespace

size_t CopyText(char *field, size_t width, std::string_view source) {
    if (width == 0)
        return 0;
    size_t length = source.size() < width ? source.size() : width - 1;
    if (void const *end = length ? memchr(source.data(), 0, length) : nullptr)
        length = static_cast<size_t>(static_cast<char const *>(end) - source.data());
    if (length)
        memmove(field, source.data(), length);
    field[length] = 0;
    return length;
}

size_t AppendText(char *field, size_t width, std::string_view source) {
    size_t const used = strnlen(field, width);
    return used >= width ? used : used + CopyText(field + used, width - used, source);
}

bool PrintText(char *field, size_t width, char const *format, ...) {
    va_list arguments;
    va_start(arguments, format);
    int const length = vsnprintf(field, width, format, arguments);
    va_end(arguments);
    if (length < 0)
        field[0] = 0;
    return length >= 0 && static_cast<size_t>(length) < width;
}

std::string_view FieldText(char const *field, size_t width) { return {field, strnlen(field, width)}; }

int32_t DecimalPrefix(std::string_view text) {
    size_t at = text.find_first_not_of(" \t\n\v\f\r");
    if (at == std::string_view::npos)
        return 0;
    bool const negative = text[at] == '-';
    if (negative || text[at] == '+')
        at++;
    int64_t const limit =
        negative ? -int64_t{std::numeric_limits<int32_t>::min()} : std::numeric_limits<int32_t>::max();
    int64_t value = 0;
    for (; at < text.size() && IsDigit(text[at]); at++)
        if (value = value * 10 + (text[at] - '0'); value > limit)
            value = limit;
    return static_cast<int32_t>(negative ? -value : value);
}

std::optional<int32_t> LeadingNumber(std::string_view text) {
    std::string_view digits = text.substr(std::min(text.find_first_not_of(" \t\n\v\f\r"), text.size()));
    if (digits.starts_with('-') || digits.starts_with('+'))
        digits.remove_prefix(1);
    if (digits.empty() || !IsDigit(digits[0]))
        return std::nullopt;
    return DecimalPrefix(text);
}

std::vector<std::string_view> WordsOf(std::string_view line) {
    std::vector<std::string_view> words;
    while (!line.empty()) {
        size_t const end = std::min(line.find(' '), line.size());
        if (end > 0)
            words.push_back(line.substr(0, end));
        line.remove_prefix(std::min(end + 1, line.size()));
    }
    return words;
}

int64_t LongPrefix(std::string_view text) {
    int64_t number = 0;
    std::from_chars(text.data(), text.data() + text.size(), number);
    return number;
}

std::string HexByte(char byte) {
    constexpr char kDigits[] = "0123456789ABCDEF";
    auto const value = static_cast<unsigned char>(byte);
    return {kDigits[value >> 4], kDigits[value & 15]};
}

std::string_view FirstLine(std::string_view text) { return text.substr(0, text.find_first_of("\r\n")); }

bool IsPlainName(std::string_view name) {
    if (name.empty() || name == "." || name == "..")
        return false;
    for (char byte : name)
        if (byte == '/' || byte == 127 || static_cast<unsigned char>(byte) < 32)
            return false;
    return true;
}

bool EqualNoCase(std::string_view left, std::string_view right) {
    return left.size() == right.size() && StartsWithNoCase(left, right);
}

bool StartsWithNoCase(std::string_view text, std::string_view prefix) {
    if (text.size() < prefix.size())
        return false;
    for (size_t i = 0; i < prefix.size(); i++)
        if (LowerAscii(text[i]) != LowerAscii(prefix[i]))
            return false;
    return true;
}
