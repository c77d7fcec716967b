#include "mime/headers.h"

#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <string>
#include <vector>

namespace {

std::unique_ptr<ParsedHeaders> Parse(std::string const &text) {
    auto headers = std::make_unique<ParsedHeaders>();
    memset(headers.get(), '#', sizeof *headers); // what is not cleared shows
    EXPECT_EQ(ParseHeaders(text.c_str(), *headers), 1);
    return headers;
}

TEST(ReadTextLine, StopsAtLfNulAndWidth) {
    char line[5];
    char const text[] = "ab\r\n\nabcd\nabcde\nx";
    char const *at = ReadTextLine(text, line, sizeof line);
    EXPECT_STREQ(line, "ab\r");
    at = ReadTextLine(at, line, sizeof line);
    EXPECT_STREQ(line, "");
    at = ReadTextLine(at, line, sizeof line);
    EXPECT_STREQ(line, "abcd") << "a line that fits to the last byte takes its LF along";
    at = ReadTextLine(at, line, sizeof line);
    EXPECT_STREQ(line, "abcd");
    at = ReadTextLine(at, line, sizeof line);
    EXPECT_STREQ(line, "e") << "what did not fit begins the next line";
    at = ReadTextLine(at, line, sizeof line);
    EXPECT_STREQ(line, "x");
    EXPECT_EQ(*ReadTextLine(at, line, sizeof line), 0);
    EXPECT_STREQ(line, "");
}

TEST(FindNoCase, LooksAtNoMoreThanItIsTold) {
    std::string const text = "Content-Type: x; BounDary=\"b\"";
    auto const find = [&](char const *needle, size_t length) {
        char const *const found = FindNoCase(text.c_str(), needle, static_cast<int>(length));
        return found ? found - text.c_str() : -1;
    };
    EXPECT_EQ(find("BOUNDARY=\"", text.size()), 17);
    EXPECT_EQ(find("boundary=\"", 26), -1) << "the needle's last byte lies behind the length";
    EXPECT_EQ(find("missing", text.size()), -1);
    EXPECT_EQ(find("", text.size()), 0);
    EXPECT_EQ(FindNoCase("abc", "ABCDEF", 3) != nullptr, true) << "a longer needle is cut to the length";
    EXPECT_NE(FindNoCase("", "abc", 0), nullptr);
    EXPECT_NE(FindNoCase("x", "y", -5), nullptr);
    std::string const far = std::string(1996, ' ') + "nameX";
    EXPECT_NE(FindNoCase(far.c_str(), "name", static_cast<int>(far.size())), nullptr);
    EXPECT_EQ(FindNoCase((" " + far).c_str(), "name", static_cast<int>(far.size() + 1)), nullptr)
        << "only the first 2000 bytes are looked at";
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
    EXPECT_STREQ(Parse("Content-Type: multipart/x; boundary=\"a b\"\r\nx: y\r\n")->boundary, "--a b");
    EXPECT_STREQ(Parse("Content-Type: multipart/x; boundary=\"open\r\nx: y\r\n")->boundary, "--open");
    EXPECT_STREQ(Parse("Content-Type: multipart/x; boundary=bare\r\nx: y\r\n")->boundary, "");
    EXPECT_STREQ(Parse("Content-Type: multipart/x\r\nX-Other: 1\r\n boundary=\"no\"\r\nx: y\r\n")->boundary, "")
        << "another header ends the continuation";
}

TEST(ParseHeaders, EndsWhereItAlwaysDid) {
    EXPECT_STREQ(Parse("From: a\r\nSubject: b\r\n")->subject, "") << "a line that nothing follows is not parsed";
    EXPECT_STREQ(Parse("From: a\r\nSubject: b")->subject, "");
    EXPECT_STREQ(Parse("From: a\r\nx\r\nSubject: b\r\ny")->subject, "") << "two bytes end the headers";
    EXPECT_STREQ(Parse("From: a\n.\nSubject: b\ny")->subject, "");
    EXPECT_STREQ(Parse("\nFrom: a\r\ny")->from, "");
    EXPECT_STREQ(Parse("Subject: first\r\nFrom:\r\nSubject: last\r\ny")->subject, " last");
    EXPECT_STREQ(Parse("From: a\r\nFrom:\r\ny")->from, " a") << "a header without a value is none";
    EXPECT_STREQ(Parse("From: caf\xe9\ny")->from, " caf") << "a last 8-bit byte goes like a CR";
    EXPECT_STREQ(Parse("From: a\r\r\ny")->from, " a\r") << "and one byte only";
}

TEST(ParseHeaders, CutsEveryFieldAtItsWidth) {
    struct Case {
        char const *name;
        char const *(*field)(ParsedHeaders const &);
        size_t width;
    };
    Case const cases[] = {
        {"From:", [](ParsedHeaders const &h) -> char const * { return h.from; }, 5000},
        {"To:", [](ParsedHeaders const &h) -> char const * { return h.to; }, 5000},
        {"Cc:", [](ParsedHeaders const &h) -> char const * { return h.cc; }, 5000},
        {"Date:", [](ParsedHeaders const &h) -> char const * { return h.date; }, 2000},
        {"Subject:", [](ParsedHeaders const &h) -> char const * { return h.subject; }, 2000},
        {"Content-Type:", [](ParsedHeaders const &h) -> char const * { return h.contentType; }, 2000},
        {"Newsgroups:", [](ParsedHeaders const &h) -> char const * { return h.newsgroups; }, 2000},
    };
    for (Case const &c : cases)
        for (size_t length : {c.width - 1, c.width, c.width + 1}) {
            auto const h = Parse(c.name + std::string(length, 'v') + "\r\nX: y\r\n\r\nb");
            EXPECT_EQ(strlen(c.field(*h)), c.width - 1) << c.name << length;
        }
    // The parameter lies within the part of the line that is searched; its end may not.
    auto const h = Parse("Content-Type:x;boundary=\"" + std::string(3000, 'b') + "\"\r\nX: y\r\n\r\nb");
    EXPECT_EQ(strlen(h->boundary), 1999u);
}

TEST(ParseHeaders, CutsContinuedFieldsWithoutCuttingAnEscape) {
    std::string text = "To: " + std::string(4990, 'a') + "\r\n";
    auto const h = Parse(text + " <<<<<<<\r\nX: y\r\n\r\nb");
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

TEST(FormatHeaderRow, HasFourColumns) {
    char row[40];
    EXPECT_STREQ(FormatHeaderRow("Date: d\r\nFrom: f\r\nSubject: s\r\n\r\nb\r\n", row, sizeof row),
                 " \t s\t f\t d\t");
    EXPECT_STREQ(FormatHeaderRow("\r\nb", row, sizeof row), " \t\t\t\t");
    EXPECT_STREQ(FormatHeaderRow(nullptr, row, sizeof row), " \t\t\t\t");
    FormatHeaderRow(("Subject: " + std::string(100, 's') + "\r\n\r\nb").c_str(), row, sizeof row);
    EXPECT_EQ(std::string(row), " \t " + std::string(36, 's'));
}

std::string Recipient(char const *list, bool addressOnly, std::string *rest = nullptr) {
    char out[100];
    char const *const behind = ExtractRecipient(list, out, sizeof out, addressOnly);
    if (rest)
        *rest = behind ? behind : "(null)";
    return out;
}

TEST(ExtractRecipient, TakesOneEntry) {
    std::string rest;
    EXPECT_EQ(Recipient("a@b, c@d", true, &rest), "a@b");
    EXPECT_EQ(rest, " c@d");
    EXPECT_EQ(Recipient("\"Some Body\" <s@b>; x", false, &rest), "SomeBody<s@b>");
    EXPECT_EQ(rest, " x");
    EXPECT_EQ(Recipient("Some Body <s@b>", true, &rest), "s@b");
    EXPECT_EQ(rest, "");
    EXPECT_EQ(Recipient("B &lt;s@b&gt;, x", true, &rest), "s@b") << "escaped by a continuation line";
    EXPECT_EQ(rest, " x");
    EXPECT_EQ(Recipient("=\t'a'\r\n@b", false), "a@b");
    for (char const *none : {"", ",a@b", ";a@b", "  ", " \"\" ,x"}) {
        EXPECT_EQ(Recipient(none, true, &rest), "") << none;
        EXPECT_EQ(rest, "(null)") << none;
    }
}

TEST(ExtractRecipient, AddressWithoutOrWithManyAts) {
    EXPECT_EQ(Recipient("postmaster", true), "postmaster");
    EXPECT_EQ(Recipient("<root>", true), "root");
    EXPECT_EQ(Recipient("x", true), "");
    EXPECT_EQ(Recipient("a@b <c@d> e", true), "c@d");
    EXPECT_EQ(Recipient("<a@b><c@d>", true), "c@d");
    EXPECT_EQ(Recipient("@", false), "@");
    EXPECT_EQ(Recipient("<@", true), "@");
}

TEST(ExtractRecipient, StaysInItsBuffer) {
    std::string const list = std::string(50, 'a') + "@b, next";
    for (int width : {1, 2, 10, 52, 53, 54}) {
        std::vector<char> out(static_cast<size_t>(width) + 1, '#');
        char const *const rest = ExtractRecipient(list.c_str(), out.data(), width, false);
        EXPECT_EQ(out.back(), '#');
        EXPECT_EQ(strlen(out.data()), std::min<size_t>(static_cast<size_t>(width) - 1, 52));
        EXPECT_STREQ(rest ? rest : "", width > 1 ? " next" : "");
    }
}

TEST(InPlace, Edits) {
    auto const edit = [](void (*how)(char *), std::string text) {
        how(text.data());
        return std::string(text.c_str());
    };
    EXPECT_EQ(edit(StripQuotes, "\"a\"b\"\r\nc"), "ab");
    EXPECT_EQ(edit(StripQuotes, "\rabc"), "");
    EXPECT_EQ(edit(RemoveSpaces, " a  b\t"), "ab\t");
    EXPECT_EQ(edit(TrimLeadingSpaces, "   a b "), "a b ");
    EXPECT_EQ(edit(TrimLeadingSpaces, "   "), "");
    EXPECT_EQ(edit(RemoveLineBreaks, "\r\na\rb\n"), "ab");
}

} // namespace
