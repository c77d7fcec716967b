#include "mail_page.h"

namespace {

TEST(Page, PlainMessageByteForByte) {
    auto const mail = RenderMail("From: A <a@b>\r\nTo: x\r\n\t<y@z>\r\nSubject: <s>\r\nDate: today\r\nCc: c\r\n"
                                 "Newsgroups: n\r\n\r\nif a < b\r\n\r\n<b>&amp;</b>\r\n");
    EXPECT_EQ(mail->page, "<HTML><HEAD><meta http-equiv=\"pragma\" content=\"no-cache\"></HEAD>\n"
                          "<BODY MARGINWIDTH=0 MARGINHEIGHT=0 TOPMARGIN=0 LEFTMARGIN=0 RIGHTMARGIN=0>"
                          "<TABLE bgcolor=\"#bbbb99\" width=100%>\n"
                          "<TR><TD ALIGN=RIGHT valign=TOP width=75><B>To:</B></TD><TD> x\t&lt;y@z></TD></TR>\n"
                          "<TR><TD ALIGN=RIGHT valign=TOP width=75><B>Newsgroups:</B></TD><TD> n</TD></TR>\n"
                          "<TR><TD ALIGN=RIGHT valign=TOP width=75><B>Cc:</B></TD><TD> c</TD></TR>\n"
                          "<TR><TD ALIGN=RIGHT valign=TOP width=75><B>From:</B></TD><TD> A &lt;a@b></TD></TR>\n"
                          "<TR><TD ALIGN=RIGHT valign=TOP width=75><B>Date:</B></TD><TD> today</TD></TR>\n"
                          "<TR><TD ALIGN=RIGHT valign=TOP width=75><B>Subject:</B></TD><TD> &lt;s></TD></TR>\n"
                          "</TABLE><FONT SIZE=-1><PRE>\n<!--msg starts here, Corvanta-->"
                          "\nif a &lt; b\n\n&lt;b>&amp;&lt;/b>\n"
                          "\n<!--msg ends here, Corvanta-->\n</PRE>\n</FONT>\n</BODY></HTML>\n");
    EXPECT_TRUE(mail->sink.items.empty());
}

std::string const kEmptyPage = "<HTML><HEAD><meta http-equiv=\"pragma\" content=\"no-cache\"></HEAD>\n"
                               "<BODY MARGINWIDTH=0 MARGINHEIGHT=0 TOPMARGIN=0 LEFTMARGIN=0 RIGHTMARGIN=0>"
                               "<TABLE bgcolor=\"#bbbb99\" width=100%>\n"
                               "</TABLE><FONT SIZE=-1><PRE>\n<!--msg starts here, Corvanta-->"
                               "\n<!--msg ends here, Corvanta-->\n</PRE>\n</FONT>\n</BODY></HTML>\n";

TEST(Page, NothingToShow) {
    EXPECT_EQ(RenderMail("")->page, kEmptyPage);
    EXPECT_EQ(RenderMail("Content-Type: text/html\r\n\r\n<b>x</b>\r\n")->page, kEmptyPage);
    EXPECT_EQ(RenderMail("Content-Type: multipart/mixed\r\n\r\n--b\r\n\r\nabc\r\n--b--\r\n")->page, kEmptyPage);
    Scratch const scratch;
    int const file = open((scratch / "page").c_str(), O_WRONLY | O_CREAT, 0600);
    ParsedHeaders headers{};
    headers.headerLength = 77; // of another text
    KeepingSink sink;
    EXPECT_TRUE(WriteMessagePage(file, nullptr, headers, "", sink));
    close(file);
    EXPECT_EQ(ReadFile(scratch / "page"), kEmptyPage);
}

TEST(Page, AnOverlongHeaderRowStillCloses) {
    std::string const opening = "<TR><TD ALIGN=RIGHT valign=TOP width=75><B>To:</B></TD><TD>";
    for (char const *value : {"x", "<"}) {
        std::string to = " ";
        while (to.size() < 4990)
            to += value;
        auto const mail = RenderMail("To:" + to + "\r\nX: y\r\n\r\nbody\r\n");
        size_t const start = mail->page.find(opening);
        size_t const end = mail->page.find("\n", start);
        std::string const row = mail->page.substr(start, end + 1 - start);
        EXPECT_TRUE(row.ends_with("</TD></TR>\n")) << value;
        EXPECT_LE(row.size(), 4999u);
        EXPECT_GE(row.size(), 4995u);
    }
}

TEST(Body, TextTypes) {
    for (char const *type : {" text/plain", "TEXT/PLAIN; x", " ", "   Text/Plainer"})
        EXPECT_EQ(RenderMail("Content-Type:" + std::string(type) + "\r\n\r\na<\r\n", true)->page, "\na&lt;\n")
            << type;
    for (char const *type : {" text/html", " image/gif", "x"})
        EXPECT_EQ(RenderMail("Content-Type:" + std::string(type) + "\r\n\r\na<\r\n", true)->page, "") << type;
}

TEST(Body, TextImageAndAttachment) {
    auto const mail = RenderMail(Multipart("preamble\r\n--b\r\nContent-Type: text/plain\r\n\r\nHello <you>\r\n"
                                           "--b\r\nContent-Type: image/gif; name=\"p.gif\"\r\n"
                                           "Content-Transfer-Encoding: base64\r\n\r\nR0lGODlh\r\nTWFu\r\nTWE=\r\n"
                                           "--b\r\nContent-Type: application/pdf;\r\n\tname=\"d.pdf\"\r\n"
                                           "Content-Transfer-Encoding: base64\r\nContent-Disposition: attachment;\r\n"
                                           "\tfilename=\"<d>.pdf\"\r\n\r\nJVBERg==\r\n--b--\r\n"),
                                 true);
    EXPECT_EQ(mail->page, "Hello &lt;you>"
                          "<!-- skip this line --><BR><BR><CENTER><IMG SRC=\"" +
                              mail->Image(0) +
                              ".gif\"></CENTER>\n"
                              "<!-- skip this line --><BR><CENTER><TABLE WIDTH=300 BORDER=1>\t<TR><TD>"
                              "\tName: d.pdf<BR>\tContent-Type:  application/pdf<BR>\tEncoding:  base64\r<BR>"
                              "\tFilename: <d>.pdf<BR></TD></TR></TABLE></CENTER><BR>\n");
    EXPECT_EQ(mail->directory.Names(), std::vector<std::string>{mail->Image(0) + ".gif"});
    EXPECT_EQ(ReadFile(mail->directory / (mail->Image(0) + ".gif")), "GIF89aManMa");
    ASSERT_EQ(mail->sink.items.size(), 2u);
    EXPECT_EQ(mail->sink.items[0].label, "p.gif");
    EXPECT_EQ(mail->sink.items[1].label, "<d>.pdf");
    EXPECT_EQ(mail->sink.items[1].name, "d.pdf");
    EXPECT_EQ(mail->sink.items[1].body, "JVBERg==");
}

TEST(Body, ImagesWithoutNamesAndWithHostileOnes) {
    auto const mail = RenderMail(Multipart("--b\r\nContent-Type: image/jpeg\r\n\r\nTWFu\r\n"
                                           "--b\r\nContent-Type:image/gif; name=../../../tmp/x.gif\r\n\r\nTWFu\r\n"
                                           "--b--\r\n"),
                                 true);
    EXPECT_EQ(mail->directory.Names(), (std::vector<std::string>{mail->Image(0), mail->Image(1) + ".gif"}));
    ASSERT_EQ(mail->sink.items.size(), 2u);
    EXPECT_EQ(mail->sink.items[0].label, "unknown");
    EXPECT_EQ(mail->sink.items[1].label, "../../../tmp/x.gif");
}

TEST(Body, ImageLines) {
    auto const image = [](std::string const &body) {
        auto const mail =
            RenderMail(Multipart("--b\r\nContent-Type: image/gif\r\n\r\n" + body + "\r\n--b--\r\n"), true);
        return ReadFile(mail->directory / mail->Image(0));
    };
    EXPECT_EQ(image("TWFu\nTWFu"), "ManMan");
    EXPECT_EQ(image("\tTWFu\r\n\r\nTWFu"), "ManMan") << "one control byte at the begin is skipped";
    EXPECT_EQ(image("TWFu\xe4?\r\nTWFu"), "ManMan") << "cut from the byte before the last on";
    // 79 characters are decoded together; the three that make no group are lost.
    std::string const line(100, 'A');
    EXPECT_EQ(image(line), std::string(57, 0) + std::string(15, 0));
    EXPECT_EQ(image(std::string(79, 'A')), std::string(57, 0));
}

TEST(Body, ShortPartsEndTheWalk) {
    std::string const text = "--b\r\nContent-Type: text/plain\r\n\r\n";
    EXPECT_EQ(RenderMail(Multipart(text + "ab\r\n" + text + "more\r\n--b--\r\n"), true)->page, "ab");
    EXPECT_EQ(RenderMail(Multipart(text + "abc\r\n" + text + "more\r\n--b--\r\n"), true)->page, "abcmore");
    EXPECT_EQ(RenderMail(Multipart(text + "\r\n" + text + "more\r\n--b--\r\n"), true)->page, "");
}

TEST(Body, EndsTooNearToTheEndOfTheText) {
    // What is left behind a part's body must be more than the boundary and ten bytes: the last delimiter is less,
    // but so is a short last part.
    std::string const text = "--b\r\n\r\nfirst\r\n--b\r\n\r\nxyz\r\n--b";
    EXPECT_EQ(RenderMail(Multipart(text), true)->page, "firstxyz");
    EXPECT_EQ(RenderMail(Multipart("--b\n\nfirst\n--b\n\nwxyz\n--b"), true)->page, "firstwxyz");
    EXPECT_EQ(RenderMail(Multipart("--b\n\nfirst\n--b\n\nxyz\n--b"), true)->page, "first");
}

TEST(Body, AnImageShortensTheTextThatTheWalkMeasures) {
    // Behind an image the text counts as long as the image's line. While that ends before the current part, the
    // difference wraps round and the walk goes on; with the part's end just before it, the walk ends.
    std::string const image = "--b\r\nContent-Type: image/gif\r\n\r\nTWFu\r\n";
    auto const near = RenderMail(Multipart(image + "--b\r\n\r\nlater text\r\n--b--\r\n"), true);
    size_t const line = near->page.find('\n') + 1;
    size_t const imageEnd = 2 + image.size() - 2; // the blank line before it, without the body's line end
    for (size_t left = 0; left < 20; left++) {
        size_t const padding = line - imageEnd - left;
        auto const mail =
            RenderMail(Multipart(std::string(padding, '.') + image + "--b\r\n\r\nlater text\r\n--b--\r\n"), true);
        if (mail->page.find('\n') + 1 != line)
            continue; // the image's number has got another digit
        bool const ends = left >= 3 && left <= 13;
        EXPECT_EQ(mail->page.ends_with("later text"), !ends) << left;
    }
}

TEST(Body, TheStepHidesNoPart) {
    // The boundary is longer than the header blocks: two of its lengths lead behind the next delimiter.
    std::string const boundary(60, 'q');
    std::string parts;
    for (char const *body : {"one.", "two.", "three."})
        parts += "--" + boundary + "\r\n\r\n" + body + "\r\n";
    EXPECT_EQ(RenderMail(Multipart(parts + "--" + boundary + "--\r\n", boundary), true)->page, "one.two.three.");
}

TEST(Body, ABoundaryInAHeaderBlockIsFoundAgain) {
    std::string const parts = "--b\r\nX: y\r\n--b\r\nContent-Type: text/plain\r\n\r\nabcd\r\n--b--\r\n";
    EXPECT_EQ(RenderMail(Multipart(parts + "epilogue"), true)->page, "abcdabcd");
}

TEST(Body, ReportsFailedWrites) {
    ParsedHeaders headers{};
    KeepingSink sink;
    int const full = open("/dev/full", O_WRONLY);
    EXPECT_FALSE(RenderMessageHtml(full, std::string(1'000'000, 'x').c_str(), headers, "", sink));
    EXPECT_FALSE(WriteMessagePage(full, "x", headers, "", sink));
    std::string const message = Multipart("--b\r\nContent-Type: x\r\n\r\nabcd\r\n--b--\r\n");
    ParseHeaders(message.c_str(), headers);
    EXPECT_FALSE(WriteMessagePage(full, message.c_str(), headers, "", sink));
    EXPECT_EQ(sink.items.size(), 1u) << "what cannot be shown can still be saved";
    close(full);
}

TEST(Body, ImagesThatCannotBeWrittenAreLeftOut) {
    std::string const message = Multipart("--b\r\nContent-Type: image/gif\r\n\r\nTWFu\r\n--b--\r\n");
    ParsedHeaders headers;
    ParseHeaders(message.c_str(), headers);
    Scratch const scratch;
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
    for (int line = 0; line < 20'000; line++) {
        unsigned const value = static_cast<unsigned>(line) % 26;
        body += std::string(76, static_cast<char>('A' + value)) + "\r\n";
        for (int group = 0; group < 19; group++)
            bytes += {static_cast<char>(value << 2 | value >> 4), static_cast<char>(value << 4 | value >> 2),
                      static_cast<char>(value << 6 | value)};
    }
    EXPECT_TRUE(Saved(body, " base64") == bytes);
}

TEST(SavedPart, FailsOnAFullDisk) {
    PartHeaders part{};
    std::string const body(100'000, 'A');
    part.body = body.c_str();
    part.bodyLength = static_cast<int32_t>(body.size());
    int const full = open("/dev/full", O_WRONLY);
    EXPECT_FALSE(WritePartContent(full, part));
    part.encoding[0] = 'x';
    EXPECT_FALSE(WritePartContent(full, part));
    close(full);
}

} // namespace
