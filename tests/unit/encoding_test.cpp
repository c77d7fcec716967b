// Text and bytes on their way into a page or a message: base64, escapes.

#include "mime/base64.h"
#include "mime/escape.h"
#include "mime/interface_only.h"

#include "scratch.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <random>
#include <unistd.h>

using namespace std::string_literals;

namespace {

std::string Decode(std::string_view text) {
    std::string const in(text);
    std::string out(3 * (in.size() / 4) + 2, '#');
    int32_t const length = Base64Decode(out.data(), in.c_str());
    EXPECT_EQ(out.back(), '#') << "wrote past its room";
    EXPECT_EQ(out[static_cast<size_t>(length)], 0);
    return out.substr(0, static_cast<size_t>(length));
}

/// The rule itself, one character at a time.
std::string Reference(std::string_view in) {
    std::string_view const alphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string out;
    for (size_t group = 0; group + 4 <= in.size(); group += 4) {
        unsigned bits = 0;
        for (size_t i = 0; i < 4; i++) {
            size_t const value = alphabet.find(in[group + i]);
            bits = bits << 6 | (value == alphabet.npos ? 63 : static_cast<unsigned>(value));
        }
        out += {static_cast<char>(bits >> 16), static_cast<char>(bits >> 8), static_cast<char>(bits)};
    }
    std::string_view const whole = in.substr(0, in.size() / 4 * 4);
    if (whole.ends_with("="))
        out.pop_back();
    if (whole.ends_with("=="))
        out.pop_back();
    return out;
}

TEST(Base64Decode, EveryByteAtEveryLength) {
    std::mt19937 random(1);
    for (size_t length = 0; length < 90; length++)
        for (int round = 0; round < 20; round++) {
            std::string text(length, 0);
            for (char &byte : text)
                byte = static_cast<char>(1 + random() % 255);
            if (round % 3 == 0 && length > 4)
                text.replace(length / 4 * 4 - 2, 2, round % 2 ? "==" : "x=");
            EXPECT_EQ(Decode(text), Reference(text));
            // In place, as the readers of stored passwords do it.
            std::string same = text;
            EXPECT_EQ(same.substr(0, static_cast<size_t>(Base64Decode(same.data(), same.c_str()))), Reference(text));
        }
}

/// The characters before the terminator, and their number as Base64Encode tells it.
std::pair<std::string, int32_t> Encode(std::string const &in) {
    // On the heap exactly as long as it is, so that a look past its end is seen.
    std::vector<char> const exact(in.begin(), in.end());
    std::string out(in.size() * 4 / 3 + in.size() / 45 * 2 + 80, 0);
    int32_t const length = Base64Encode(out.data(), exact.data(), static_cast<int32_t>(in.size()));
    return {out.c_str(), length};
}

TEST(Base64Encode, LinesOf64AndAShortLastGroup) {
    std::string const line(64, 'A');
    std::string const zeros(48, 0);
    EXPECT_EQ(Encode("Man"), std::pair("TWFu"s, 4));
    EXPECT_EQ(Encode("ManM"), std::pair("TWFuT"s, 4));
    EXPECT_EQ(Encode("ManMa"), std::pair("TWFuT"s, 4));
    EXPECT_EQ(Encode(""), std::pair(""s, 0));
    EXPECT_EQ(Encode(zeros + zeros), std::pair(line + "\n" + line + "\n", 130));
    EXPECT_EQ(Encode(zeros + zeros.substr(0, 3)).first, line + "\nAAAA");
    char out[8] = "";
    Base64Encode(out, "Ma", 2);
    EXPECT_EQ(std::string(out, 5), "T\0E=\0"s) << "the whole group comes after the terminator";
}

TEST(Base64Encode, RoundTripOfWholeGroups) {
    std::mt19937 random(2);
    std::string bytes;
    for (size_t length = 0; length < 300; length++, bytes += static_cast<char>(random())) {
        std::string text = Encode(bytes).first;
        std::erase(text, '\n');
        EXPECT_EQ(text.size(), length / 3 * 4 + (length % 3 ? 1 : 0));
        EXPECT_EQ(Decode(text), bytes.substr(0, length / 3 * 3));
    }
}

TEST(Escape, EveryLengthAndMixture) {
    // Against the rule written out, across the steps and blocks that it is done in.
    Scratch const scratch;
    auto const written = [&](int (*write)(int, char const *, int), std::string const &text) {
        int const file = open((scratch / "out").c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
        EXPECT_EQ(write(file, text.data(), static_cast<int>(text.size())), static_cast<int>(text.size()));
        close(file);
        return ReadFile(scratch / "out");
    };
    EXPECT_EQ(written(PlainTextToFile, "a<b>&\r\nc\n"), "a&lt;b>&\nc\n");
    EXPECT_EQ(written(HtmlEscapeToFile, "a<b>&\r\nc\n"), "a&lt;b>&\n<BR>c\n<BR>");
    std::mt19937 random(3);
    for (size_t length : {1, 15, 16, 17, 33, 1000, 8191, 8192, 8193, 70'000})
        for (unsigned rarity : {1u, 4u, 40u, 4000u}) {
            std::string text, plain, html;
            while (text.size() < length) {
                char const byte = random() % rarity ? static_cast<char>(random()) : "<\r\n\0"[random() % 4];
                text += byte;
                if (byte == 0 || byte == '\r')
                    continue;
                std::string_view const one(&text.back(), 1);
                plain += byte == '<' ? "&lt;" : one;
                html += byte == '<' ? "&lt;" : byte == '\n' ? "\n<BR>" : one;
            }
            EXPECT_TRUE(written(PlainTextToFile, text) == plain) << length << " " << rarity;
            EXPECT_TRUE(written(HtmlEscapeToFile, text) == html) << length << " " << rarity;
        }
    EXPECT_EQ(HtmlEscapeToFile(-1, "x", -3), 0);
}

TEST(Escape, ToStringCutsBeforeAnEscape) {
    char field[12];
    EXPECT_EQ(HtmlEscapeToString(field, sizeof field, "a<\r\nb"), 1);
    EXPECT_STREQ(field, "a&lt;\r\n<BR>");
    HtmlEscapeToString(field, sizeof field, "12345678<");
    EXPECT_STREQ(field, "12345678");
    EXPECT_EQ(HtmlEscapeAppend(field, sizeof field, "9ab>"), 1);
    EXPECT_STREQ(field, "123456789ab");
    HtmlEscapeToString(field, 0, "x");
    EXPECT_STREQ(field, "123456789ab");
}

} // namespace
