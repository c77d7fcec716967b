#include "mime/headers.h"

#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <memory>
#include <string>

namespace {

std::unique_ptr<ParsedHeaders> Parse(std::string const &text) {
    auto headers = std::make_unique<ParsedHeaders>();
    memset(headers.get(), '#', sizeof *headers); // what is not cleared shows
    EXPECT_EQ(ParseHeaders(text.c_str(), *headers), 1);
    return headers;
}

TEST(ReadTextLine, StopsAtLfNulAndWidth) {
    char line[5];
    char const *at = "ab\r\n\nabcd\nabcde\nx";
    // A line that fits to the last byte takes its LF along; what did not fit begins the next line.
    for (char const *expected : {"ab\r", "", "abcd", "abcd", "e", "x", ""}) {
        at = ReadTextLine(at, line, sizeof line);
        EXPECT_STREQ(line, expected);
    }
    EXPECT_EQ(*at, 0);
}

TEST(FindNoCase, LooksAtNoMoreThanItIsTold) {
    auto const find = [](std::string const &text, char const *needle, size_t length) {
        char const *const found = FindNoCase(text.c_str(), needle, static_cast<int>(length));
        return found ? found - text.c_str() : -1;
    };
    std::string const text = "Content-Type: x; BounDary=\"b\"";
    EXPECT_EQ(find(text, "BOUNDARY=\"", text.size()), 17);
    EXPECT_EQ(find(text, "boundary=\"", 26), -1) << "the needle's last byte lies behind the length";
    EXPECT_EQ(find("abc", "ABCDEF", 3), 0) << "a longer needle is cut to the length";
    EXPECT_EQ(find("", "abc", 0), 0);
    std::string const far = std::string(1996, ' ') + "nameX";
    EXPECT_EQ(find(far, "name", far.size()), 1996);
    EXPECT_EQ(find(" " + far, "name", far.size() + 1), -1) << "only the first 2000 bytes are looked at";
    char const unterminated[3] = {'a', 'b', 'c'};
    EXPECT_EQ(FindNoCase(unterminated, "bc", 3), unterminated + 1);
}

TEST(ParseHeaders, KeepsValuesAsTheyFollowTheColon) {
    auto const h = Parse("FROM: a\r\nsubject: Hello\r\nDate:now\r\nto: t\r\ncc: c\r\nNewsGroups: n\r\n"
                         "CONTENT-TYPE: text/html\r\n\r\nSubject: body\r\n");
    EXPECT_STREQ(h->from, " a");
    EXPECT_STREQ(h->subject, " Hello");
    EXPECT_STREQ(h->date, "now");
    EXPECT_STREQ(h->to, " t");
    EXPECT_STREQ(h->cc, " c");
    EXPECT_STREQ(h->newsgroups, " n");
    EXPECT_STREQ(h->contentType, " text/html");
    EXPECT_STREQ(h->boundary, "");
    EXPECT_EQ(h->headerLength, 9u + 16u + 10u + 7u + 7u + 15u + 25u);
}

TEST(ParseHeaders, ContinuesToCcAndContentTypeOnly) {
    auto const h =
        Parse("To: x <a@b>\r\n\ty <c@d>\r\nCc: p\r\n q<r\r\nSubject: s\r\n more\r\n"
              "Content-Type: multipart/mixed;\r\n\tBoundary=\"lim\"; x=\"y\"\r\nNewsgroups: n\r\n z\r\n\r\nb\r\n");
    EXPECT_STREQ(h->to, " x <a@b>\ty &lt;c@d>") << "only continuation lines are escaped";
    EXPECT_STREQ(h->cc, " p q&lt;r");
    EXPECT_STREQ(h->subject, " s");
    EXPECT_STREQ(h->boundary, "--lim");
    EXPECT_STREQ(h->newsgroups, " n");
}

TEST(ParseHeaders, TakesTheBoundaryInQuotesOnly) {
    for (auto const &[text, boundary] : std::initializer_list<std::pair<std::string, std::string>>{
             {"; boundary=\"a b\"", "--a b"},
             {"; boundary=\"open", "--open"},
             {"; boundary=bare", ""},
             {"\r\nX-Other: 1\r\n boundary=\"no\"", ""}, // another header ends the continuation
             {"; boundary=\"" + std::string(3000, 'b') + "\"", "--" + std::string(1997, 'b')}})
        EXPECT_EQ(Parse("Content-Type: multipart/x" + text + "\r\nx: y\r\n")->boundary, boundary);
}

TEST(ParseHeaders, EndsWhereItAlwaysDid) {
    for (auto const &[text, from, subject] : std::initializer_list<std::array<char const *, 3>>{
             {"From: a\r\nSubject: b\r\n", " a", ""}, // a line that nothing follows is not parsed
             {"From: a\r\nSubject: b", " a", ""},
             {"From: a\r\nx\r\nSubject: b\r\ny", " a", ""}, // two bytes end the headers
             {"From: a\n.\nSubject: b\ny", " a", ""},
             {"\nFrom: a\r\ny", "", ""},
             {"Subject: first\r\nFrom:\r\nSubject: last\r\ny", "", " last"},
             {"From: a\r\nFrom:\r\ny", " a", ""}, // a header without a value is none
             {"From: caf\xe9\ny", " caf", ""},    // a last 8-bit byte goes like a CR
             {"From: a\r\r\ny", " a\r", ""}}) {   // and one byte only
        auto const h = Parse(text);
        EXPECT_STREQ(h->from, from) << text;
        EXPECT_STREQ(h->subject, subject) << text;
    }
}

TEST(ParseHeaders, CutsEveryFieldAtItsWidth) {
    for (size_t width : {2000, 5000})
        for (size_t length : {width - 1, width, width + 1}) {
            std::string const value(length, 'v'), stored(width - 1, 'v');
            auto const with = [&](char const *name) { return Parse(name + value + "\r\nX: y\r\n\r\nb"); };
            if (width == 5000) {
                EXPECT_EQ(with("From:")->from, stored);
                EXPECT_EQ(with("To:")->to, stored);
                EXPECT_EQ(with("Cc:")->cc, stored);
            } else {
                EXPECT_EQ(with("Date:")->date, stored);
                EXPECT_EQ(with("Subject:")->subject, stored);
                EXPECT_EQ(with("Content-Type:")->contentType, stored);
                EXPECT_EQ(with("Newsgroups:")->newsgroups, stored);
            }
        }
}

TEST(ParseHeaders, CutsContinuedFieldsWithoutCuttingAnEscape) {
    auto const h = Parse("To: " + std::string(4990, 'a') + "\r\n <<<<<<<\r\nX: y\r\n\r\nb");
    EXPECT_EQ(std::string(h->to).substr(4991), " &lt;");
    EXPECT_STREQ(h->cc, "");
}

TEST(ParseHeaders, LengthNeverLeadsOutOfTheText) {
    // A line of 10239 bytes and more comes in pieces, each of which counts a LF.
    for (size_t length : {10238, 10239, 10242, 20478, 20481, 50000}) {
        std::string const text = "X: " + std::string(length - 3, 'x') + "\nFrom: a\n\nb";
        auto const h = Parse(text);
        EXPECT_LE(h->headerLength, text.size());
        EXPECT_STREQ(h->from, " a") << length;
        EXPECT_EQ(h->headerLength, std::min(text.size(), length + 1 + 8 + (length - 1) / 10239)) << length;
    }
    EXPECT_EQ(Parse("")->headerLength, 0u);
    ParsedHeaders headers;
    ParseHeaders(nullptr, headers);
    EXPECT_EQ(headers.headerLength, 0u);
}

TEST(ExtractRecipient, TakesOneEntry) {
    struct Case {
        char const *list;
        bool addressOnly;
        char const *taken;
        char const *rest; ///< null: nothing was taken
    };
    for (Case const &c : std::initializer_list<Case>{{"a@b, c@d", true, "a@b", " c@d"},
                                                     {"\"Some Body\" <s@b>; x", false, "SomeBody<s@b>", " x"},
                                                     {"Some Body <s@b>", true, "s@b", ""},
                                                     {"B &lt;s@b&gt;, x", true, "s@b", " x"},
                                                     {"=\t'a'\r\n@b", false, "a@b", ""},
                                                     {"", true, "", nullptr},
                                                     {",a@b", true, "", nullptr},
                                                     {";a@b", false, "", nullptr},
                                                     {" \"\" ,x", true, "", nullptr},
                                                     {"postmaster", true, "postmaster", ""},
                                                     {"<root>", true, "root", ""},
                                                     {"x", true, "", ""},
                                                     {"a@b <c@d> e", true, "c@d", ""},
                                                     {"<a@b><c@d>", true, "c@d", ""},
                                                     {"<@", true, "@", ""}}) {
        char out[100];
        EXPECT_STREQ(ExtractRecipient(c.list, out, sizeof out, c.addressOnly), c.rest) << c.list;
        EXPECT_STREQ(out, c.taken) << c.list;
        char narrow[] = "##########";
        ExtractRecipient(c.list, narrow, 5, false);
        EXPECT_EQ(narrow[5], '#') << c.list;
    }
}

TEST(InPlace, Edits) {
    struct Case {
        void (*edit)(char *);
        char const *before, *after;
    };
    for (Case const &c : std::initializer_list<Case>{{StripQuotes, "\"a\"b\"\r\nc", "ab"},
                                                     {StripQuotes, "\rabc", ""},
                                                     {RemoveSpaces, " a  b\t", "ab\t"},
                                                     {TrimLeadingSpaces, "   a b ", "a b "},
                                                     {TrimLeadingSpaces, "   ", ""},
                                                     {RemoveLineBreaks, "\r\na\rb\n", "ab"}}) {
        std::string text = c.before;
        c.edit(text.data());
        EXPECT_STREQ(text.c_str(), c.after);
    }
}

} // namespace
