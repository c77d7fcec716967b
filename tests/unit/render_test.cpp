// Messages as pages: what is shown, what is attached, and that mail written to hurt is shown in linear time.

#include "mime/part_content.h"
#include "mime/render.h"
#include "unit/rendered.h"

namespace {

/// A multipart message around `parts`, which start and end at a boundary "--b".
std::string Multipart(std::string const &parts, std::string const &boundary = "b") {
    return "Content-Type: multipart/mixed; boundary=\"" + boundary + "\"\r\n\r\n" + parts;
}

TEST(Page, AnOverlongHeaderRowStillCloses) {
    for (char value : {'x', '<'}) {
        std::string const page = RenderMail("To:" + std::string(4990, value) + "\r\nX: y\r\n\r\nbody\r\n")->page;
        size_t const start = page.find("<TR>");
        std::string const row = page.substr(start, page.find('\n', start) + 1 - start);
        EXPECT_TRUE(row.ends_with("</TD></TR>\n")) << value;
        EXPECT_LE(row.size(), 4999u);
        EXPECT_GE(row.size(), 4995u);
    }
}

TEST(Body, AnImageShortensTheTextThatTheWalkMeasures) {
    // Behind an image the text counts as long as the image's line. While that ends before the current part, the
    // difference wraps round and the walk goes on; with the part's end just before it, the walk ends.
    std::string const image = "--b\r\nContent-Type: image/gif\r\n\r\nTWFu\r\n";
    auto const near = RenderMail(Multipart(image + "--b\r\n\r\nlater text\r\n--b--\r\n"), kBody);
    size_t const line = near->page.find('\n') + 1;
    size_t const imageEnd = 2 + image.size() - 2; // the blank line before it, without the body's line end
    for (size_t left = 0; left < 20; left++) {
        size_t const padding = line - imageEnd - left;
        auto const mail =
            RenderMail(Multipart(std::string(padding, '.') + image + "--b\r\n\r\nlater text\r\n--b--\r\n"), kBody);
        if (mail->page.find('\n') + 1 != line)
            continue; // the image's number has got another digit
        bool const ends = left >= 3 && left <= 13;
        EXPECT_EQ(mail->page.ends_with("later text"), !ends) << left;
    }
}

TEST(Body, ImagesThatCannotBeWrittenAreLeftOut) {
    std::string const message = Multipart("--b\r\nContent-Type: image/gif\r\n\r\nTWFu\r\n--b--\r\n");
    ParsedHeaders headers;
    ParseHeaders(message.c_str(), headers);
    Scratch const scratch;
    std::filesystem::path const before = std::filesystem::current_path();
    std::filesystem::current_path(scratch.Path());
    int const out = open("page", O_WRONLY | O_CREAT, 0600);
    KeepingSink sink;
    EXPECT_TRUE(RenderMessageHtml(out, message.c_str(), headers, "", sink));
    EXPECT_TRUE(RenderMessageHtml(out, message.c_str(), headers, (scratch / "missing/").c_str(), sink));
    // A link in the way is not followed.
    std::string const next = std::to_string(getpid()) + "_" + std::to_string(ImageCounter);
    std::filesystem::create_symlink(scratch / "victim", scratch / next);
    EXPECT_TRUE(RenderMessageHtml(out, message.c_str(), headers, scratch.Path().c_str(), sink));
    close(out);
    std::filesystem::current_path(before);
    EXPECT_EQ(scratch.Names(), (std::vector<std::string>{next, "page"}));
    EXPECT_EQ(sink.items.size(), 3u);
}

std::string Saved(std::string const &body, char const *encoding) {
    PartHeaders part{};
    std::vector<char> const exact(body.begin(), body.end());
    part.body = exact.data();
    part.bodyLength = static_cast<int32_t>(exact.size());
    snprintf(part.encoding, sizeof part.encoding, "%s", encoding);
    Scratch const scratch;
    int const out = open((scratch / "saved").c_str(), O_WRONLY | O_CREAT, 0600);
    EXPECT_TRUE(WritePartContent(out, part));
    close(out);
    return ReadFile(scratch / "saved");
}

TEST(SavedPart, DecodedUnderAnyEncoding) {
    EXPECT_EQ(Saved("TWFu\r\n", ""), "TWFu\r\n");
    EXPECT_EQ(Saved("TWFu\r\nTWFu", " 7bit\r"), "ManMan");
    EXPECT_EQ(Saved("TWFu\nTQ==\n", " base64"), "ManM");
    EXPECT_EQ(Saved("\tTWFu\r\n", " base64"), "\xfd\x35\x85") << "only an image's first byte is skipped";
    EXPECT_EQ(Saved("", " base64"), "");
    // Across many blocks of output: 'A' to 'Z' alone are 0 to 25.
    std::string body, bytes;
    for (unsigned line = 0; line < 20'000; line++) {
        unsigned const value = line % 26, group = value << 18 | value << 12 | value << 6 | value;
        body += std::string(76, static_cast<char>('A' + value)) + "\r\n";
        for (int i = 0; i < 19; i++)
            bytes += {static_cast<char>(group >> 16), static_cast<char>(group >> 8), static_cast<char>(group)};
    }
    EXPECT_TRUE(Saved(body, " base64") == bytes);
}

TEST(FullDisk, IsReported) {
    ParsedHeaders headers{};
    KeepingSink sink;
    int const full = open("/dev/full", O_WRONLY);
    EXPECT_FALSE(RenderMessageHtml(full, std::string(1'000'000, 'x').c_str(), headers, "", sink));
    std::string const message = Multipart("--b\r\nContent-Type: x\r\n\r\nabcd\r\n--b--\r\n");
    ParseHeaders(message.c_str(), headers);
    EXPECT_FALSE(WriteMessagePage(full, message.c_str(), headers, "", sink));
    EXPECT_EQ(sink.items.size(), 1u) << "what cannot be shown can still be saved";
    PartHeaders part{};
    std::string const body(100'000, 'A');
    part.body = body.c_str();
    part.bodyLength = static_cast<int32_t>(body.size());
    for (char const encoding : {'\0', 'x'}) {
        part.encoding[0] = encoding;
        EXPECT_FALSE(WritePartContent(full, part));
    }
    close(full);
}

} // namespace
