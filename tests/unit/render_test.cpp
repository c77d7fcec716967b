// Messages as pages: what is shown, what is attached, and that mail written to hurt is shown in linear time.

#include "mime/render.h"

#include "scratch.h"

#include <gtest/gtest.h>

#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <functional>
#include <memory>
#include <unistd.h>

namespace {

struct Attachment {
    std::string label;
    std::string name, contentType, encoding, fileName;
    std::string body;
};

class KeepingSink : public AttachmentSink {
  public:
    void Add(char const *label, PartHeaders const &part) override {
        std::unique_ptr<PartHeaders, decltype(&FreePart)> const copy(CopyPart(part), FreePart);
        EXPECT_EQ(copy->body[copy->bodyLength], 0);
        items.push_back({label, copy->name, copy->contentType, copy->encoding, copy->fileName,
                         std::string(copy->body, static_cast<size_t>(copy->bodyLength))});
    }
    std::vector<Attachment> items;
};

/// One rendered message: its page, its attachments and the directory with its images.
struct MailPage {
    Scratch directory;
    KeepingSink sink;
    std::string page;
    unsigned firstImage = ImageCounter;

    /// The name of the n-th image's file without its extension.
    std::string Image(unsigned n) const { return std::to_string(getpid()) + "_" + std::to_string(firstImage + n); }
};

/// The whole page of `message`, or with `bodyOnly` what is between the marks.
std::unique_ptr<MailPage> RenderMail(std::string const &message, bool bodyOnly = false) {
    auto result = std::make_unique<MailPage>();
    auto headers = std::make_unique<ParsedHeaders>();
    ParseHeaders(message.c_str(), *headers);
    std::string const path = result->directory / "page";
    int const file = open(path.c_str(), O_WRONLY | O_CREAT, 0600);
    // The text is handed over without a byte behind its terminator, so that a memory checker sees every step too far.
    std::vector<char> text(message.c_str(), message.c_str() + strlen(message.c_str()) + 1);
    std::string const images = result->directory.Path();
    if (bodyOnly)
        EXPECT_TRUE(
            RenderMessageHtml(file, text.data() + headers->headerLength, *headers, images.c_str(), result->sink));
    else
        EXPECT_TRUE(WriteMessagePage(file, text.data(), *headers, images.c_str(), result->sink));
    close(file);
    result->page = ReadFile(path);
    unlink(path.c_str());
    return result;
}

/// A multipart message around `parts`, which begin and end at a boundary "--b".
std::string Multipart(std::string const &parts, std::string const &boundary = "b") {
    return "Content-Type: multipart/mixed; boundary=\"" + boundary + "\"\r\n\r\n" + parts;
}

/// The page of these rows and this body, byte by byte.
std::string PageOf(std::initializer_list<std::pair<char const *, char const *>> rows, std::string const &body) {
    std::string page = "<HTML><HEAD><meta http-equiv=\"pragma\" content=\"no-cache\"></HEAD>\n"
                       "<BODY MARGINWIDTH=0 MARGINHEIGHT=0 TOPMARGIN=0 LEFTMARGIN=0 RIGHTMARGIN=0>"
                       "<TABLE bgcolor=\"#bbbb99\" width=100%>\n";
    for (auto const &[name, value] : rows)
        page += std::string("<TR><TD ALIGN=RIGHT valign=TOP width=75><B>") + name + ":</B></TD><TD>" + value +
                "</TD></TR>\n";
    return page + "</TABLE><FONT SIZE=-1><PRE>\n<!--msg starts here, Corvanta-->" + body +
           "\n<!--msg ends here, Corvanta-->\n</PRE>\n</FONT>\n</BODY></HTML>\n";
}

TEST(Page, ByteForByte) {
    auto const mail = RenderMail("From: A <a@b>\r\nTo: x\r\n\t<y@z>\r\nSubject: <s>\r\nDate: today\r\nCc: c\r\n"
                                 "Newsgroups: n\r\n\r\nif a < b\r\n\r\n<b>&amp;</b>\r\n");
    EXPECT_EQ(mail->page, PageOf({{"To", " x\t&lt;y@z>"},
                                  {"Newsgroups", " n"},
                                  {"Cc", " c"},
                                  {"From", " A &lt;a@b>"},
                                  {"Date", " today"},
                                  {"Subject", " &lt;s>"}},
                                 "\nif a &lt; b\n\n&lt;b>&amp;&lt;/b>\n"));
    EXPECT_TRUE(mail->sink.items.empty());
    for (char const *nothing : {"", "Content-Type: text/html\r\n\r\n<b>x</b>\r\n",
                                "Content-Type: multipart/mixed\r\n\r\n--b\r\n\r\nabc\r\n--b--\r\n"})
        EXPECT_EQ(RenderMail(nothing)->page, PageOf({}, "")) << nothing;
    Scratch const scratch;
    int const file = open((scratch / "page").c_str(), O_WRONLY | O_CREAT, 0600);
    ParsedHeaders headers{};
    headers.headerLength = 77; // of another text
    KeepingSink sink;
    EXPECT_TRUE(WriteMessagePage(file, nullptr, headers, "", sink));
    close(file);
    EXPECT_EQ(ReadFile(scratch / "page"), PageOf({}, ""));
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

TEST(Body, WhatTheWalkShows) {
    std::string const text = "--b\r\nContent-Type: text/plain\r\n\r\n", more = text + "more\r\n--b--\r\n";
    for (auto const &[parts, shown] : std::initializer_list<std::pair<std::string, char const *>>{
             // A part of less than three bytes is the last.
             {text + "ab\r\n" + more, "ab"},
             {text + "abc\r\n" + more, "abcmore"},
             {text + "\r\n" + more, ""},
             // Behind a part's body there must be more than the boundary and ten bytes.
             {"--b\r\n\r\nfirst\r\n--b\r\n\r\nxyz\r\n--b", "firstxyz"},
             {"--b\n\nfirst\n--b\n\nwxyz\n--b", "firstwxyz"},
             {"--b\n\nfirst\n--b\n\nxyz\n--b", "first"},
             // A boundary in a header block is found again.
             {"--b\r\nX: y\r\n--b\r\nContent-Type: text/plain\r\n\r\nabcd\r\n--b--\r\nepilogue", "abcdabcd"}})
        EXPECT_EQ(RenderMail(Multipart(parts), true)->page, shown) << parts;
    // A boundary longer than the header blocks: the walk's step leads behind the next delimiter, but hides no part.
    std::string const longer(60, 'q'), next = "\r\n--" + longer;
    std::string const parts = "--" + longer + "\r\n\r\none." + next + "\r\n\r\ntwo." + next + "\r\n\r\nthree." + next;
    EXPECT_EQ(RenderMail(Multipart(parts + "--\r\n", longer), true)->page, "one.two.three.");
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

/// Processor seconds that rendering takes: the machine may be busy with something else.
double Seconds(std::string const &message) {
    auto const now = [] {
        timespec time{};
        clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
        return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
    };
    double best = 1e9;
    for (int run = 0; run < 2; run++) {
        double const start = now();
        RenderMail(message);
        best = std::min(best, now() - start);
    }
    return best;
}

std::string Repeated(std::string const &text, size_t count) {
    std::string all;
    all.reserve(text.size() * count);
    while (count--)
        all += text;
    return all;
}

TEST(HostileMail, TimeGrowsWithTheText) {
    std::string const boundary = std::string(100, '-') + "x" + std::string(150, '-');
    struct Case {
        char const *what;
        size_t units;
        std::function<std::string(size_t)> make; ///< a message of about so many units
    };
    Case const cases[] = {
        {"text parts", 3'000,
         [](size_t n) { return Multipart(Repeated("--b\r\n\r\nabcdefghijk\r\n", n) + "--b--\r\n"); }},
        {"attachments", 5'000,
         [](size_t n) { return Multipart(Repeated("--b\r\nContent-Type: x\r\n\r\nabcd\r\n", n) + "--b--\r\n"); }},
        {"boundaries in one header block", 20'000,
         [](size_t n) { return Multipart(Repeated("--b\r\n", n) + "\r\nabcd\r\n--b--\r\n"); }},
        {"boundaries alone", 100'000, [](size_t n) { return Multipart(Repeated("--b\n", n)); }},
        {"near misses of a long boundary", 10'000,
         [&](size_t n) {
             return Multipart("--" + boundary + "\r\n\r\n" + std::string(50 * n, '-') + "\r\n--" + boundary,
                              boundary);
         }},
        {"header lines behind a name", 240,
         [](size_t n) {
             return Multipart("--b\r\n\tname=\"" + std::string(n, 'n') + "\"\r\n" + Repeated("\tx\n", 1'000 * n) +
                              "\r\nabcd\r\n--b--\r\n");
         }},
        {"one header line", 10'000, [](size_t n) { return "X: " + std::string(100 * n, 'x') + "\r\n\r\nb"; }},
    };
    // Four times as many units must not take much more than four times as long; of quadratic time it is sixteen
    // times.
    for (Case const &c : cases) {
        double const one = std::max(Seconds(c.make(c.units)), 0.002);
        EXPECT_LT(Seconds(c.make(4 * c.units)), 10 * one) << c.what;
    }
}

TEST(HostileMail, Boundaries) {
    std::string const part = "\r\nContent-Type: text/plain\r\n\r\n", longest(2000, 'q');
    struct Case {
        char const *boundary;
        std::string parts;
        char const *shown;
    };
    for (Case const &c : std::initializer_list<Case>{
             {"b", "no boundary at all", ""},
             {"b", "--b" + part + "never ends", ""},
             // One boundary is the begin of another: both count.
             {"b", "--b" + part + "outer\r\n--bb" + part + "inner\r\n--b--\r\n", "outerinner"},
             // An overlong one is kept to its field's width, which still finds its lines.
             {longest.c_str(), "--" + longest + part + "text\r\n--" + longest + "--\r\n", "text"},
             // An empty parameter leaves two dashes.
             {"", "--" + part + "text\r\n----\r\n", "text"}})
        EXPECT_EQ(RenderMail("Content-Type: multipart/x;\r\n boundary=\"" + std::string(c.boundary) + "\"\r\n\r\n" +
                                 c.parts,
                             true)
                      ->page,
                  c.shown);
}

} // namespace
