#include "mime/lines.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

namespace {

TEST(FindNoCase, LooksAtNoMoreThanItIsTold) {
    auto const find = [](std::string const &text, char const *needle, size_t length) {
        char const *const found = FindNoCase(text.c_str(), needle, static_cast<int>(length));
        return found ? found - text.c_str() : -1;
    };
    std::string const text = "Content-Type: x; BounDary=\"b\"";
    EXPECT_EQ(find(text, "BOUNDARY=\"", text.size()), 17);
    EXPECT_EQ(find(text, "boundary=\"", 26), -1) << "the needle's last byte is past the length";
    EXPECT_EQ(find("abc", "ABCDEF", 3), 0) << "a longer needle is cut to the length";
    EXPECT_EQ(find("", "abc", 0), 0);
    std::string const far = std::string(1996, ' ') + "nameX";
    EXPECT_EQ(find(far, "name", far.size()), 1996);
    EXPECT_EQ(find(" " + far, "name", far.size() + 1), -1) << "only the first 2000 bytes are looked at";
    char const unterminated[3] = {'a', 'b', 'c'};
    EXPECT_EQ(FindNoCase(unterminated, "bc", 3), unterminated + 1);
}

} // namespace
