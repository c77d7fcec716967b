#include "base/text.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <string>

namespace {

TEST(CopyText, CutsAtWidthMinusOneAndAtNul) {
    char field[9];
    for (size_t length : {0, 1, 6, 7, 8, 9, 100}) {
        memset(field, '#', sizeof field);
        size_t const expected = std::min<size_t>(length, 7);
        EXPECT_EQ(CopyText(field, 8, std::string(length, 'x')), expected);
        EXPECT_STREQ(field, std::string(expected, 'x').c_str());
        EXPECT_EQ(field[8], '#') << "wrote behind the field";
    }
    EXPECT_EQ(CopyText(field, std::string_view("ab\0cd", 5)), 2u);
    EXPECT_STREQ(field, "ab");
    field[0] = '#';
    EXPECT_EQ(CopyText(field, 0, "x"), 0u);
    EXPECT_EQ(field[0], '#');
}

TEST(CopyText, NeverReadsBehindItsSource) {
    // The byte behind the view is no terminator; a memory checker sees a read of it.
    std::string const exact(8, 'y');
    char field[32];
    EXPECT_EQ(CopyText(field, std::string_view(exact.data(), 8)), 8u);
    EXPECT_EQ(CopyText(field, std::string_view()), 0u);
}

TEST(AppendText, FillsToTheEndAndStays) {
    char field[6] = "ab";
    EXPECT_EQ(AppendText(field, "cdefgh"), 5u);
    EXPECT_STREQ(field, "abcde");
    EXPECT_EQ(AppendText(field, "x"), 5u);
    char full[4] = {'f', 'u', 'l', 'l'}; // not terminated
    EXPECT_EQ(AppendText(full, "x"), 4u);
    EXPECT_EQ(std::string_view(full, 4), "full");
}

TEST(PrintText, TellsWhetherAllFitted) {
    char field[6];
    EXPECT_TRUE(PrintText(field, sizeof field, "%d", 12345));
    EXPECT_FALSE(PrintText(field, sizeof field, "%d", 123456));
    EXPECT_STREQ(field, "12345");
}

TEST(FieldText, EndsAtTheFieldWithoutATerminator) {
    char const field[4] = {'a', 'b', 'c', 'd'};
    EXPECT_EQ(FieldText(field, 4), "abcd");
    EXPECT_EQ(FieldText("ab", 4), "ab");
}

TEST(DecimalPrefix, ReadsSignsBlanksAndSaturates) {
    EXPECT_EQ(DecimalPrefix("42 octets"), 42);
    EXPECT_EQ(DecimalPrefix(" \t\n-17x"), -17);
    EXPECT_EQ(DecimalPrefix("+8"), 8);
    for (char const *none : {"", "x", "-", "+-1", "--1", " "})
        EXPECT_EQ(DecimalPrefix(none), 0) << none;
    EXPECT_EQ(DecimalPrefix("2147483647"), INT32_MAX);
    EXPECT_EQ(DecimalPrefix("2147483648"), INT32_MAX);
    EXPECT_EQ(DecimalPrefix("-2147483648"), INT32_MIN);
    EXPECT_EQ(DecimalPrefix(std::string(200, '9')), INT32_MAX);
    EXPECT_EQ(DecimalPrefix("-" + std::string(200, '9')), INT32_MIN);
}

TEST(FirstLine, CannotSmuggleASecondCommand) {
    EXPECT_EQ(FirstLine("user\r\nDELE 1"), "user");
    EXPECT_EQ(FirstLine("user\nDELE 1"), "user");
    EXPECT_EQ(FirstLine("\rx"), "");
    EXPECT_EQ(FirstLine("user"), "user");
}

TEST(IsPlainName, RefusesWhatLeavesTheDirectory) {
    for (char const *good : {"Inbox", "a b", "...", ".hidden", "-rf", "M\xfcll", "x.dat"})
        EXPECT_TRUE(IsPlainName(good)) << good;
    for (char const *bad : {"", ".", "..", "/", "a/b", "../x", "a\nb", "a\tb", "\x7f"})
        EXPECT_FALSE(IsPlainName(bad)) << bad;
    EXPECT_FALSE(IsPlainName(std::string_view("a\0b", 3)));
}

TEST(NoCase, FoldsAsciiOnly) {
    EXPECT_TRUE(EqualNoCase("MiXed", "mIxED"));
    EXPECT_FALSE(EqualNoCase("mixed", "mixe"));
    EXPECT_FALSE(EqualNoCase("[", "{")) << "neighbours of the letters";
    EXPECT_FALSE(EqualNoCase("\xc4", "\xe4"));
    EXPECT_TRUE(StartsWithNoCase("+ok 5", "+OK"));
    EXPECT_FALSE(StartsWithNoCase("+o", "+OK"));
}

} // namespace
