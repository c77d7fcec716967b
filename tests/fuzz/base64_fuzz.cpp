// sources: src/mime/base64.cpp
// Decoding agrees with the rule done one character at a time, and takes back what encoding made of whole groups.

#include "fuzz_input.h"

#include "mime/base64.h"

#include <cstring>
#include <vector>

namespace {

std::string Reference(std::string_view in) {
    std::string_view const alphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string out;
    in = in.substr(0, in.size() / 4 * 4);
    for (size_t group = 0; group < in.size(); group += 4) {
        unsigned bits = 0;
        for (char byte : in.substr(group, 4))
            bits =
                bits << 6 | (alphabet.find(byte) == alphabet.npos ? 63 : static_cast<unsigned>(alphabet.find(byte)));
        out += {static_cast<char>(bits >> 16), static_cast<char>(bits >> 8), static_cast<char>(bits)};
    }
    out.resize(out.size() - (in.ends_with("==") ? 2 : in.ends_with("=") ? 1 : 0));
    return out;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(uint8_t const *data, size_t size) {
    std::string const text = TextOf(data, size);
    std::vector<char> decoded(3 * (text.size() / 4) + 1); // exactly the room it may use
    int32_t const length = Base64Decode(decoded.data(), text.c_str());
    Require(std::string_view(decoded.data(), static_cast<size_t>(length)) == Reference(text));
    Require(decoded[static_cast<size_t>(length)] == 0);

    size_t const whole = size / 3 * 3;
    std::vector<char> encoded(whole * 4 / 3 + whole / 45 * 2 + 80);
    Base64Encode(encoded.data(), reinterpret_cast<char const *>(data), static_cast<int32_t>(whole));
    std::string lines = encoded.data();
    std::erase(lines, '\n');
    std::vector<char> back(lines.size() + 1);
    Require(DecodeBase64(back.data(), lines) == whole && (whole == 0 || memcmp(back.data(), data, whole) == 0));
    return 0;
}
