#include "mime/headers.h"

#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <string>

namespace {

struct Parsed {
    PartHeaders part;
    std::string body;
    std::string rest; ///< from where a reader goes on
};

Parsed ParsePart(std::string const &text, char const *boundary = "--b") {
    Parsed parsed;
    memset(&parsed.part, '#', sizeof parsed.part);
    char const *const resume = ParsePartHeaders(text.c_str(), nullptr, parsed.part, boundary);
    EXPECT_LE(resume, text.c_str() + text.size());
    EXPECT_LE(parsed.part.body + parsed.part.bodyLength, text.c_str() + text.size());
    parsed.body.assign(parsed.part.body, static_cast<size_t>(parsed.part.bodyLength));
    parsed.rest = resume;
    return parsed;
}

TEST(ParsePartHeaders, TakesTheUsualHeaders) {
    Parsed const p = ParsePart("Content-Type: image/gif; name=\"a b.gif\"\r\n"
                               "Content-Transfer-Encoding: base64\r\n"
                               "Content-Disposition: attachment;\r\n"
                               "\tfilename=\"c.gif\"\r\n\r\nR0lG\r\n--b--\r\n");
    EXPECT_STREQ(p.part.contentType, " image/gif");
    EXPECT_STREQ(p.part.name, "a b.gif");
    EXPECT_STREQ(p.part.encoding, " base64\r") << "the CR is part of what is stored";
    EXPECT_STREQ(p.part.fileName, "c.gif");
    EXPECT_STREQ(p.part.reserved, "");
    EXPECT_EQ(p.body, "R0lG");
    EXPECT_EQ(p.rest, "\r\n--b--\r\n") << "body, boundary's length and one further";
}

TEST(ParsePartHeaders, TypesAndNames) {
    for (auto const &[block, type, name] : std::initializer_list<std::array<char const *, 3>>{
             {"Content-Type: text/plain\r\n\r\n", " text/plain\r", ""}, // without parameters it keeps its CR
             {"content-type: text/plain\n\n", " text/plain", ""},
             {"Content-Type: x; Name: \"q\"\r\n\r\n", " x", " q"},
             {"Content-Type: x;\r\n\tNAME=\"q\"; y\r\n\r\n", " x", "q; y"}}) {
        Parsed const p = ParsePart(block + std::string("abc\r\n--b"));
        EXPECT_STREQ(p.part.contentType, type) << block;
        EXPECT_STREQ(p.part.name, name) << block;
    }
}

TEST(ParsePartHeaders, ParametersBehindABlankLoseTwoBytes) {
    // Written for a quote and a CR at the end. The opening quote goes where a line behind a Content-Type or
    // Content-Disposition, or an empty line, makes the name be stripped.
    Parsed p = ParsePart("Content-Type: x;\r\n name=\"a.gif\"\r\nContent-Disposition: y;\r\n"
                         " filename=\"b.gif\"\r\n\r\nabc\r\n--b");
    EXPECT_STREQ(p.part.name, "a.gif");
    EXPECT_STREQ(p.part.fileName, "\"b.gif");
    p = ParsePart("Content-Type: x;\n name=\"a.gif\"\nContent-Disposition: y;\n filename=\"b.gif\"\n\nabc\n--b");
    EXPECT_STREQ(p.part.name, "a.gi");
    EXPECT_STREQ(p.part.fileName, "b.gi");
    p = ParsePart(" namesX\r\n filename\r\n name=\r\n filenames=!\r\n\r\nabc\r\n--b");
    EXPECT_STREQ(p.part.name, "") << "too short to hold a value";
    EXPECT_STREQ(p.part.fileName, "=") << "the byte before the value is not looked at";
    p = ParsePart(" name=\"longest\"\r\n name=\"abc\"\r\n\r\nabc\r\n--b");
    EXPECT_STREQ(p.part.name, "\"abcgest") << "the shorter value leaves the longer one's end";
}

TEST(ParsePartHeaders, BodyEndsTwoBytesBeforeTheBoundary) {
    for (auto const &[text, body] : std::initializer_list<std::pair<char const *, char const *>>{
             {"\r\nabc\r\n--b", "abc"},
             {"\nabc\n--b", "abc"},
             {"X: y\r\n\r\nabc--b", "a"}, // taken for the line end
             {"\r\n--b", ""},
             {"\r\n\r\n--b", ""},
             {"\r\nabc\r\n--c", ""}, // no boundary, no body
             {"", ""},
             {"X: y", ""}})
        EXPECT_EQ(ParsePart(text).body, body) << text;
}

TEST(ParsePartHeaders, ABoundaryLineEndsTheHeaderBlock) {
    Parsed const p = ParsePart("Content-Type: x/y\n--b\nabc\n--b\nmore");
    EXPECT_STREQ(p.part.contentType, " x/y");
    EXPECT_EQ(p.body, "abc\n--");
    EXPECT_EQ(p.rest, "--b\nmore");
    // With a CR behind it the line is none, and the block goes on.
    EXPECT_EQ(ParsePart("X: y\r\n--b\r\nZ: y\r\n\r\nabc\r\n--b").body, "abc");
}

TEST(ParsePartHeaders, CutsEveryFieldAtItsWidth) {
    for (size_t width : {100, 200})
        for (size_t length : {width - 1, width, width + 1}) {
            std::string const value(length, 'v'), stored(width - 1, 'v');
            Parsed const p =
                ParsePart("Content-Type:" + value + ";\nContent-Transfer-Encoding:" + value + "\n\nabc\n--b");
            EXPECT_EQ(p.part.contentType, width == 200 ? stored : value);
            EXPECT_EQ(p.part.encoding, std::string(99, 'v'));
            EXPECT_EQ(p.body, "abc");
        }
}

TEST(ParsePartHeaders, LinesComeInPiecesOf1000) {
    // The name of a line of exactly 1000 bytes is whole; of a longer one the rest is a line of its own.
    std::string const start = "\tname=\"";
    Parsed p = ParsePart(start + std::string(1000 - start.size(), 'n') + "\n\nabc\n--b");
    EXPECT_EQ(strlen(p.part.name), 1000 - start.size());
    EXPECT_EQ(p.body, "abc");
    p = ParsePart(start + std::string(1003 - start.size(), 'n') + "\n\nabc\n--b");
    EXPECT_EQ(strlen(p.part.name), 1000 - start.size());
    EXPECT_EQ(p.body, "ab") << "each piece counts a LF of the header block";
}

} // namespace
