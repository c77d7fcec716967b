#include "compose/send/standard/addresses.h"

#include <algorithm>
#include <idn2.h>

namespace {

constexpr size_t kLongestLocalPart = 64, kLongestAddress = 254; // RFC 5321 4.5.3.1

bool IsBlank(char byte) { return byte == ' ' || byte == '\t' || byte == '\r' || byte == '\n'; }
bool IsAtom(char byte) {
    return static_cast<unsigned char>(byte) > ' ' && byte != 0x7f &&
           std::string_view("()<>[]:;@\\,\".").find(byte) == std::string_view::npos;
}

/// One entry between two separators, taken apart by its kinds of bytes.
struct Entry {
    std::string words;   ///< outside angle brackets, quotes undone, comments left out
    std::string bare;    ///< the same with quotes kept: what an address without brackets is
    std::string angle;   ///< inside angle brackets
    std::string comment; ///< the last comment
    bool hasAngle = false, broken = false;
};

/// Reads entries off a text.
class Reader {
  public:
    explicit Reader(std::string_view text) : rest_(text) {}

    /// The next entry up to its separator; false at the end.
    bool Next(Entry &entry) {
        entry = {};
        bool any = false;
        for (; !rest_.empty(); any = true) {
            char const byte = rest_[0];
            if (byte == ',' || byte == ';') {
                rest_.remove_prefix(1);
                return true;
            }
            if (byte == ':' && !entry.hasAngle && entry.words.find('@') == std::string::npos) { // a group's name
                rest_.remove_prefix(1);
                entry = {};
                continue;
            }
            Take(entry);
        }
        return any;
    }

  private:
    void Take(Entry &entry) {
        switch (rest_[0]) {
        case '"': {
            std::string quoted;
            entry.broken = !TakeTo('"', quoted) || entry.broken;
            entry.words += quoted;
            entry.bare += '"' + Escaped(quoted) + '"';
            break;
        }
        case '(':
            entry.broken = !TakeComment(entry.comment) || entry.broken;
            break;
        case '<':
            entry.broken = entry.hasAngle || !TakeAngle(entry.angle) || entry.broken;
            entry.hasAngle = true;
            break;
        default:
            entry.words += rest_[0];
            entry.bare += rest_[0];
            rest_.remove_prefix(1);
        }
    }

    static std::string Escaped(std::string_view text) {
        std::string escaped;
        for (char const byte : text)
            escaped += byte == '"' || byte == '\\' ? std::string{'\\', byte} : std::string(1, byte);
        return escaped;
    }

    /// From an opening quote to its end, backslashes undone.
    bool TakeTo(char end, std::string &text) {
        for (rest_.remove_prefix(1); !rest_.empty(); rest_.remove_prefix(1)) {
            if (rest_[0] == end) {
                rest_.remove_prefix(1);
                return true;
            }
            if (rest_[0] == '\\' && rest_.size() > 1)
                rest_.remove_prefix(1);
            text += rest_[0];
        }
        return false;
    }

    bool TakeComment(std::string &comment) {
        comment.clear();
        int depth = 0;
        for (; !rest_.empty(); rest_.remove_prefix(1)) {
            if (rest_[0] == '(' && depth++ == 0)
                continue;
            if (rest_[0] == ')' && --depth == 0) {
                rest_.remove_prefix(1);
                return true;
            }
            if (rest_[0] == '\\' && rest_.size() > 1)
                rest_.remove_prefix(1);
            comment += rest_[0];
        }
        return false;
    }

    /// An address in brackets: a quoted local part may hold anything.
    bool TakeAngle(std::string &address) {
        rest_.remove_prefix(1);
        for (bool quoted = false; !rest_.empty(); rest_.remove_prefix(1)) {
            if (rest_[0] == '>' && !quoted) {
                rest_.remove_prefix(1);
                return true;
            }
            quoted = quoted != (rest_[0] == '"');
            if (rest_[0] == '\\' && quoted && rest_.size() > 1) {
                address += rest_[0];
                rest_.remove_prefix(1);
            }
            address += rest_[0];
        }
        return false;
    }

    std::string_view rest_;
};

std::string Trimmed(std::string_view text) {
    while (!text.empty() && IsBlank(text.front()))
        text.remove_prefix(1);
    while (!text.empty() && IsBlank(text.back()))
        text.remove_suffix(1);
    // Runs of blanks and line breaks within count as one blank.
    std::string trimmed;
    for (char const byte : text)
        if (!IsBlank(byte) || !IsBlank(trimmed.back()))
            trimmed += IsBlank(byte) ? ' ' : byte;
    return trimmed;
}

bool IsLocalPart(std::string_view local) {
    if (local.empty() || local.size() > kLongestLocalPart)
        return false;
    if (local.front() == '"')
        return local.size() > 2 && local.back() == '"' && std::all_of(local.begin(), local.end(), [](char byte) {
                   return static_cast<signed char>(byte) >= ' ' && byte != 0x7f;
               });
    bool const dots = local.front() == '.' || local.back() == '.' || local.find("..") != local.npos;
    return !dots && std::all_of(local.begin(), local.end(), [](char byte) {
        return byte == '.' || (IsAtom(byte) && static_cast<signed char>(byte) > 0);
    });
}

/// A domain in ASCII; empty for none. An address literal stays as it is.
std::string AsciiDomain(std::string const &domain) {
    if (domain.starts_with('[') && domain.ends_with(']') && domain.find_first_of(" \t<>@") == domain.npos)
        return domain;
    char *ascii = nullptr;
    if (domain.empty() || idn2_to_ascii_8z(domain.c_str(), &ascii, IDN2_NFC_INPUT | IDN2_NONTRANSITIONAL) != IDN2_OK)
        return {};
    std::string const result = ascii;
    idn2_free(ascii);
    bool const plain = std::all_of(result.begin(), result.end(), [](char byte) {
        return (byte >= 'a' && byte <= 'z') || (byte >= 'A' && byte <= 'Z') || (byte >= '0' && byte <= '9') ||
               byte == '-' || byte == '.' || byte == '_';
    });
    bool const dots = result.front() == '.' || result.back() == '.' || result.find("..") != result.npos;
    return plain && !dots ? result : "";
}

/// The address with its domain in ASCII; empty for what is none.
std::string CheckedAddress(std::string const &text) {
    size_t const at = text.rfind('@');
    if (at == std::string::npos || !IsLocalPart(std::string_view(text).substr(0, at)))
        return {};
    std::string const domain = AsciiDomain(text.substr(at + 1));
    std::string const address = domain.empty() ? "" : text.substr(0, at + 1) + domain;
    return address.size() <= kLongestAddress ? address : "";
}

} // namespace

AddressList ParseAddresses(std::string_view text) {
    AddressList list;
    Reader reader(text);
    for (Entry entry; reader.Next(entry);) {
        std::string const words = Trimmed(entry.words), typed = Trimmed(entry.hasAngle ? entry.angle : entry.bare);
        if (typed.empty() && words.empty())
            continue;
        std::string address = entry.broken ? "" : CheckedAddress(typed);
        if (address.empty()) {
            if (list.problem.empty())
                list.problem = "\"" + (typed.empty() ? words : typed) + "\" is not a mail address.";
            continue;
        }
        // The old form of a name: pat@example.org (Pat O'Brien).
        list.mailboxes.push_back(
            {entry.hasAngle && !words.empty() ? words : Trimmed(entry.comment), std::move(address)});
    }
    return list;
}

std::string QuotedName(std::string_view name) {
    bool const plain = std::all_of(name.begin(), name.end(), [](char byte) { return IsAtom(byte) || byte == ' '; });
    if (plain)
        return std::string(name);
    std::string quoted = "\"";
    for (char const byte : name) {
        if (byte == '"' || byte == '\\')
            quoted += '\\';
        quoted += byte;
    }
    return quoted + "\"";
}
