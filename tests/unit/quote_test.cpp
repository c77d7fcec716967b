// What replies and forwards take over: quotes, subjects, recipients, parts.

#include "compose/forward_part.h"
#include "compose/quote.h"
#include "mime/base64.h"
#include "mime/part_content.h"

#include <cstdlib>
#include <cstring>
#include <gtest/gtest.h>
#include <memory>

namespace {

/// The body and encoding that a part is sent on with.
std::string Forwarded(std::string const &body, char const *encoding) {
    PartHeaders part{};
    part.body = body.data();
    part.bodyLength = static_cast<int32_t>(body.size());
    snprintf(part.encoding, sizeof part.encoding, "%s", encoding);
    snprintf(part.fileName, sizeof part.fileName, "name.txt");
    std::unique_ptr<PartHeaders, decltype(&FreePart)> const copy(ForwardedPart(part), FreePart);
    EXPECT_STREQ(copy->fileName, "name.txt");
    EXPECT_EQ(copy->body[copy->bodyLength], 0);
    return std::string(copy->body, static_cast<size_t>(copy->bodyLength)) + "|" + copy->encoding;
}

TEST(ForwardedPart, IsBase64WhateverItWas) {
    EXPECT_EQ(Forwarded("YWJj\r\nZGVm\r\n", " BASE64"), "YWJj\r\nZGVm\r\n| BASE64");
    EXPECT_EQ(Forwarded("YW\rJj\r\n.\r\nRCPT TO:<x>\r\n\r", " base64"), "YWJj\r\n\r\nRCPTTOx\r\n| base64");
    EXPECT_EQ(Forwarded("abcdef", ""), "YWJjZGVm|Base64");
    EXPECT_EQ(Forwarded("a=3D=\r\nb= \nc=zz=", " Quoted-Printable"), Forwarded("a=bc=zz=", " 8bit"));
    EXPECT_EQ(Forwarded("", " 7bit"), "|Base64");
}

TEST(EncodeInSlices, IsTheEncodingOfTheWhole) {
    for (size_t size : {size_t{0}, size_t{1}, size_t{47}, size_t{48}, size_t{48 * 32768}, size_t{48 * 32768 + 50}}) {
        std::string bytes(size, 0);
        for (size_t i = 0; i < size; i++)
            bytes[i] = static_cast<char>(i * 31 + i / 1000);
        std::string whole(size * 4 / 3 + size / 45 * 2 + 80, '\0');
        Base64Encode(whole.data(), bytes.data(), static_cast<int32_t>(size));
        size_t at = 0;
        int32_t length = -1;
        auto const read = [&](char *to, size_t count) {
            memcpy(to, bytes.data() + at, count);
            at += count;
            return true;
        };
        std::unique_ptr<char, void (*)(void *)> const slices(EncodeInSlices(size, read, length), free);
        EXPECT_STREQ(slices.get(), whole.c_str()) << size;
        EXPECT_EQ(length, static_cast<int32_t>(strlen(whole.c_str())));
    }
    int32_t length = 0;
    EXPECT_EQ(EncodeInSlices(
                  10, [](char *, size_t) { return false; }, length),
              nullptr);
    EXPECT_EQ(EncodeInSlices((size_t{1} << 30) + 1, [](char *, size_t) { return true; }, length), nullptr);
}

} // namespace
