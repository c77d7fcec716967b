#include "core/utf8.h"

#include <algorithm>

namespace {

/// Windows-1252 from 0x80 to 0x9F; five of its bytes mean nothing.
constexpr char16_t kWindows1252[32] = {
    0x20AC, 0xFFFD, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0xFFFD, 0x017D, 0xFFFD, 0xFFFD, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0xFFFD, 0x017E, 0x0178,
};

/// Whether bytes on both sides would form one character.
bool MeetsInOne(std::string_view text, std::string_view part) {
    for (size_t back = 1; back <= std::min<size_t>(text.size(), 3); back++) {
        std::string seam(text.substr(text.size() - back));
        seam += part.substr(0, 3);
        if (Utf8At(seam).bytes > back)
            return true;
    }
    return false;
}

} // namespace

size_t PtCharBytes(std::string_view text) { return text.empty() ? 0 : Utf8At(text).bytes; }

size_t PtCountChars(std::string_view text) {
    size_t count = 0;
    for (; !text.empty(); count++)
        text.remove_prefix(PtCharBytes(text));
    return count;
}

size_t PtCharOffset(std::string_view text, size_t position) {
    size_t offset = 0;
    while (position-- > 0 && offset < text.size())
        offset += PtCharBytes(text.substr(offset));
    return offset;
}

char32_t PtShownChar(Utf8Character const &character) {
    char32_t const code = character.code;
    return character.valid || code >= 0xA0 ? code : kWindows1252[code - 0x80];
}

bool PtIsControl(Utf8Character const &character) {
    char32_t const code = character.code;
    return character.valid && (code < 0x20 || (code >= 0x7F && code < 0xA0) || code == 0x2028 || code == 0x2029);
}

void PtAppendText(std::string &text, std::string_view part) {
    if (MeetsInOne(text, part)) {
        AppendUtf8(text, PtShownChar(Utf8At(part)));
        part.remove_prefix(1);
    }
    text += part;
}

std::string PtPlainText(std::string_view text, PtTextLines lines) {
    std::string plain;
    plain.reserve(text.size());
    bool dropped = false;
    while (!text.empty()) {
        Utf8Character const character = Utf8At(text);
        std::string_view const bytes = text.substr(0, character.bytes), rest = text;
        text.remove_prefix(character.bytes);
        char32_t const code = character.code;
        bool const line_end = code == '\r' || code == 0x2028 || code == 0x2029;
        if (character.valid && line_end && lines == PtTextLines::Several) {
            if (code != '\r' || !text.starts_with('\n'))
                plain += '\n';
        } else if (lines == PtTextLines::Several && (code == '\t' || code == '\n')) {
            plain += bytes;
        } else if (PtIsControl(character)) {
            dropped = true;
            continue;
        } else if (code == 0xFDD0 || code == 0xFDD1) {
            AppendUtf8(plain, 0xFFFD);
        } else if (dropped && MeetsInOne(plain, rest)) {
            AppendUtf8(plain, PtShownChar(character));
        } else {
            plain += bytes;
        }
        dropped = false;
    }
    return plain;
}
