#include "mime/headers.h"

#include <gtest/gtest.h>

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

TEST(ParsePartHeaders, TypeWithoutParametersKeepsItsCr) {
    EXPECT_STREQ(ParsePart("Content-Type: text/plain\r\n\r\nabc\r\n--b").part.contentType, " text/plain\r");
    EXPECT_STREQ(ParsePart("content-type: text/plain\n\nabc\n--b").part.contentType, " text/plain");
    EXPECT_STREQ(ParsePart("Content-Type: x; Name: \"q\"\r\n\r\nabc\r\n--b").part.name, " q");
    EXPECT_STREQ(ParsePart("Content-Type: x;\r\n\tNAME=\"q\"; y\r\n\r\nabc\r\n--b").part.name, "q; y");
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
    EXPECT_EQ(ParsePart("\r\nabc\r\n--b").body, "abc");
    EXPECT_EQ(ParsePart("\nabc\n--b").body, "abc");
    EXPECT_EQ(ParsePart("X: y\r\n\r\nabc--b").body, "a") << "taken for the line end";
    EXPECT_EQ(ParsePart("\r\n--b").part.bodyLength, 0);
    EXPECT_EQ(ParsePart("\r\n\r\n--b").part.bodyLength, 0);
    EXPECT_EQ(ParsePart("\r\nabc\r\n--c").part.bodyLength, 0) << "no boundary, no body";
    EXPECT_EQ(ParsePart("").part.bodyLength, 0);
    EXPECT_EQ(ParsePart("X: y").part.bodyLength, 0);
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
    struct Case {
        char const *before;
        char const *after;
        size_t offset, width;
    };
    Case const cases[] = {
        {"Content-Type:", ";", offsetof(PartHeaders, contentType), 200},
        {"Content-Transfer-Encoding:", "", offsetof(PartHeaders, encoding), 100},
    };
    for (Case const &c : cases)
        for (size_t length : {c.width - 1, c.width, c.width + 1}) {
            Parsed const p = ParsePart(std::string(c.before) + std::string(length, 'v') + c.after + "\n\nabc\n--b");
            char const *const field = reinterpret_cast<char const *>(&p.part) + c.offset;
            EXPECT_EQ(strnlen(field, c.width), c.width - 1) << c.before << length;
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
