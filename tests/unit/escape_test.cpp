#include "mime/escape.h"

#include "scratch.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <random>
#include <unistd.h>

namespace {

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
    for (size_t length : {1, 15, 16, 17, 33, 1000, 8191, 8192, 8193, 300'000, 1'000'000})
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
