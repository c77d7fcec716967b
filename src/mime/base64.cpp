#include "mime/base64.h"

#include <array>
#include <bit>
#include <cstring>

namespace {

constexpr unsigned kOutside = 63; ///< kept: what a character outside the alphabet counts as, "=" included
constexpr size_t kLineLength = 64;

/// What a character at each of the four places of a group adds to the group's three bytes, the first of them lowest:
/// four lookups and three ors make a group.
using PlaceTable = std::array<uint32_t, 256>;

constexpr uint32_t ThreeBytes(uint32_t bits) { return (bits >> 16 & 0xff) | (bits & 0xff00) | (bits & 0xff) << 16; }

constexpr std::array<PlaceTable, 4> MakeTables() {
    std::array<PlaceTable, 4> tables{};
    for (unsigned place = 0; place < 4; place++) {
        unsigned const shift = 18 - 6 * place;
        for (uint32_t &entry : tables[place])
            entry = ThreeBytes(kOutside << shift);
        for (unsigned value = 0; value < 64; value++)
            tables[place][static_cast<unsigned char>(kBase64Alphabet[value])] = ThreeBytes(value << shift);
    }
    return tables;
}

constexpr std::array<PlaceTable, 4> kTables = MakeTables();

uint32_t DecodeGroup(char const *in) {
    auto const at = [in](unsigned place) { return kTables[place][static_cast<unsigned char>(in[place])]; };
    return at(0) | at(1) | at(2) | at(3);
}

/// Stores the three bytes and one more that the next group or the end overwrites.
void StoreGroup(char *out, uint32_t group) {
    if constexpr (std::endian::native != std::endian::little)
        group = __builtin_bswap32(group);
    memcpy(out, &group, sizeof group);
}

/// The two characters of each 12 bits, the first of them lowest.
using PairTable = std::array<uint16_t, 4096>;

constexpr PairTable MakePairs() {
    PairTable table{};
    for (unsigned bits = 0; bits < table.size(); bits++)
        table[bits] = static_cast<uint16_t>(kBase64Alphabet[bits >> 6] | kBase64Alphabet[bits & 63] << 8);
    return table;
}

constexpr PairTable kPairs = MakePairs();

constexpr size_t kLineBytes = kLineLength / 4 * 3; ///< encoded in one line
constexpr size_t kReadAhead = 2;                   ///< EncodeLine looks at so many bytes past its line

/// Encodes kLineBytes bytes into a whole line without its end: 6 bytes make 8 characters.
void EncodeLine(char *out, unsigned char const *in) {
    for (size_t group = 0; group < kLineBytes; group += 6, in += 6, out += 8) {
        uint64_t bits;
        memcpy(&bits, in, sizeof bits);
        if constexpr (std::endian::native == std::endian::little)
            bits = __builtin_bswap64(bits);
        auto const pair = [bits](unsigned shift) { return uint64_t{kPairs[bits >> shift & 0xfff]}; };
        uint64_t text = pair(52) | pair(40) << 16 | pair(28) << 32 | pair(16) << 48;
        if constexpr (std::endian::native != std::endian::little)
            text = __builtin_bswap64(text);
        memcpy(out, &text, sizeof text);
    }
}

} // namespace

size_t DecodeBase64(char *out, std::string_view in) {
    size_t const groups = in.size() / 4;
    if (groups == 0) {
        *out = 0;
        return 0;
    }
    // Looked at before the loop, which may decode in place.
    bool const one = in[4 * groups - 1] == '=';
    bool const two = one && in[4 * groups - 2] == '=';
    char const *from = in.data();
    char *to = out;
    size_t group = 0;
    for (; group + 4 <= groups; group += 4, from += 16, to += 12) {
        uint32_t const first = DecodeGroup(from), second = DecodeGroup(from + 4);
        uint32_t const third = DecodeGroup(from + 8), fourth = DecodeGroup(from + 12);
        StoreGroup(to, first);
        StoreGroup(to + 3, second);
        StoreGroup(to + 6, third);
        StoreGroup(to + 9, fourth);
    }
    for (; group < groups; group++, from += 4, to += 3)
        StoreGroup(to, DecodeGroup(from));
    size_t const length = 3 * groups - (one ? 1 : 0) - (two ? 1 : 0);
    out[length] = 0;
    return length;
}

int32_t Base64Decode(char *out, char const *in) { return static_cast<int32_t>(DecodeBase64(out, in)); }

int32_t Base64Encode(char *out, char const *in, int32_t length) {
    auto const *from = reinterpret_cast<unsigned char const *>(in);
    size_t const count = length > 0 ? static_cast<size_t>(length) : 0;
    char *to = out;
    size_t onLine = 0;
    size_t done = 0;
    for (; done + kLineBytes + kReadAhead <= count; done += kLineBytes) {
        EncodeLine(to, from + done);
        to += kLineLength;
        *to++ = '\n';
    }
    auto const put = [&](unsigned value) { *to++ = kBase64Alphabet[value & 63]; };
    for (; done + 2 < count; done += 3) {
        unsigned const group = from[done] << 16u | from[done + 1] << 8u | from[done + 2];
        put(group >> 18);
        put(group >> 12);
        put(group >> 6);
        put(group);
        onLine += 4;
        if (onLine == kLineLength) {
            *to++ = '\n';
            onLine = 0;
        }
    }
    char *const last = to;
    if (done < count) {
        bool const pair = count - done == 2;
        unsigned const group = from[done] << 16u | (pair ? from[done + 1] << 8u : 0);
        put(group >> 18);
        put(group >> 12);
        *to++ = pair ? kBase64Alphabet[group >> 6 & 63] : '=';
        *to++ = '=';
    }
    // kept: the terminator cuts the last group short; every mail that was ever sent has it so
    last[1] = 0;
    return static_cast<int32_t>(last - out);
}
