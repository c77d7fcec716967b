#include "hostile/mail_makers.h"

#include "mime/headers.h"

#include <array>

namespace {

std::string Times(size_t count, std::string const &text) {
    std::string all;
    all.reserve(count * text.size());
    while (count--)
        all += text;
    return all;
}

std::string Head(std::string const &name, std::string const &type = "") {
    return "From: attacker@example.org\r\nTo: alice@example.org\r\nSubject: " + name +
           "\r\nDate: Mon, 02 Nov 2026 10:00:00 +0000\r\n" + (type.empty() ? "" : "Content-Type: " + type + "\r\n");
}

std::string Multipart(std::string const &name, std::string const &boundary) {
    return Head(name, "multipart/mixed; boundary=\"" + boundary + "\"") + "\r\n";
}

std::string TextPart(std::string const &boundary, std::string const &text) {
    return "--" + boundary + "\r\nContent-Type: text/plain\r\n\r\n" + text + "\r\n";
}

std::string FilePart(std::string const &boundary, std::string const &fileName) {
    return "--" + boundary + "\r\nContent-Type: application/octet-stream; name=\"" + fileName +
           "\"\r\nContent-Transfer-Encoding: base64\r\nContent-Disposition: attachment; filename=\"" + fileName +
           "\"\r\n\r\naGVsbG8h\r\n";
}

HostileMail Names() {
    std::string text = Multipart("names", "b") + TextPart("b", "all kinds of names");
    for (std::string const &name :
         {std::string("../escape1"), std::string("/tmp/escape2"), std::string(".."), std::string("."),
          std::string("-rf escape"), std::string("a/../../escape3"), std::string(300, 'n'),
          std::string("..\\escape4"), std::string("tab\there"), std::string("%s%n%x"), std::string("~/escape5"),
          std::string("\xff\xfe.txt"), Times(60, "<table><tr><td>")})
        text += FilePart("b", name);
    return {"names", text + "--b--\r\n", "all kinds of names", 13};
}

HostileMail ManyParts() {
    std::string text = Multipart("many parts", "b") + TextPart("b", "the first of many");
    // One more than is listed.
    for (int i = 0; i <= 20'000; i++)
        text += FilePart("b", "file" + std::to_string(i));
    return {"many parts", text + "--b--\r\n", "the first of many", 20'000};
}

HostileMail Nested() {
    std::string text = Multipart("nested parts", "b0");
    for (int i = 0; i < 1000; i++)
        text += "--b" + std::to_string(i) + "\r\nContent-Type: multipart/mixed; boundary=\"b" +
                std::to_string(i + 1) + "\"\r\n\r\n";
    return {"nested parts", text + TextPart("b1000", "the innermost") + "--b1000--\r\n--b0--\r\n", "", 1};
}

std::vector<HostileMail> Boundaries() {
    std::string const huge(2000, 'B');
    return {
        {"no boundary", Head("no boundary", "multipart/mixed") + "\r\n" + TextPart("b", "lost text") + "--b--\r\n",
         ""},
        {"boundary that never comes", Multipart("boundary that never comes", "other") + TextPart("b", "lost text"),
         ""},
        {"boundary with a prefix",
         Multipart("boundary with a prefix", "bb") + TextPart("b", "of a shorter one") + TextPart("bb", "seen text") +
             TextPart("bbb", "of a longer one") + FilePart("bb", "after.txt") + "--bb--\r\n",
         "seen text", 1},
        {"huge boundary", Multipart("huge boundary", huge) + TextPart(huge, "within it") + "--" + huge + "--\r\n",
         ""},
        {"empty boundary", Multipart("empty boundary", "") + TextPart("", "within it") + "----\r\n", ""},
        {"unclosed parts", Multipart("unclosed parts", "b") + TextPart("b", "seen text") + FilePart("b", "open.bin"),
         "seen text"},
    };
}

std::vector<HostileMail> Bytes() {
    return {
        {"huge header",
         Head("huge header") + "X-Long: " + std::string(1 << 20, 'h') + "\r\n\r\n" +
             Times(100, "behind the header\r\n"),
         "behind the header"},
        {"many headers", Head("many headers") + Times(20'000, "X-One: of many\r\n") + "\r\nbehind the headers\r\n",
         "behind the headers"},
        {"huge recipients",
         Head("huge recipients") + "Cc: " + Times(20'000, "<a@b.example>,\r\n ") + "x\r\n\r\nseen\r\n", "seen"},
        {"", "no header at all, and no line end", ""},
        {"", "\r\nonly a body\r\n", "only a body"},
        {"no body", Head("no body"), ""},
        {"no body but a line", Head("no body but a line") + "\r\n", ""},
        {"", "", ""},
        {"", "\n", ""},
        {"", Times(100'000, "\r"), ""},
        {"", std::string(100'000, '\0'), ""},
        {"zero bytes", Head("zero bytes") + "\r\nbefore" + std::string(100, '\0') + "behind\r\n", "before"},
        {"one line", Head("one line") + "\r\n" + std::string(2 << 20, 'x'), ""},
        {"eight bits", Head("eight bits") + "\r\n" + Times(1000, "\xff\xfe\x80\xc3\x28 \xed\xa0\x80\r\n"), ""},
        {"markup in text", Head("markup in text") + "\r\n<script>alert(1)</script></TABLE></HTML>end of it\r\n",
         "<script>alert(1)</script></TABLE></HTML>end of it"},
        {"deep tables",
         Head("deep tables", "text/html") + "\r\n<html><body>" + Times(60, "<table><tr><td>x") + "the middle" +
             Times(60, "</td></tr></table>") + "</body></html>\r\n",
         ""},
    };
}

/// Every field one byte below its width, at it, and one above.
std::vector<HostileMail> Widths() {
    std::vector<HostileMail> mails;
    auto const around = [](size_t width) { return std::array<size_t, 4>{width - 2, width - 1, width, width + 1}; };
    for (char const *name : {"From: ", "To: ", "Cc: ", "Date: ", "Subject: ", "Content-Type: ", "Newsgroups: "})
        for (size_t const width : {sizeof ParsedHeaders::from, sizeof ParsedHeaders::date})
            for (size_t const size : around(width)) {
                // An unknown type is no text.
                bool const shown = std::string(name) != "Content-Type: ";
                mails.push_back({"", name + std::string(size - 1, 'w') + "\r\nX-Behind: y\r\n\r\nthe text behind\r\n",
                                 shown ? "the text behind" : ""});
            }
    for (size_t const width : {sizeof PartHeaders::name, sizeof PartHeaders::contentType})
        for (size_t const size : around(width)) {
            std::string const value(size, 'p');
            mails.push_back({"part fields",
                             Multipart("part fields", "b") + TextPart("b", "seen text") + "--b\r\nContent-Type: " +
                                 value + "; name=\"" + value + "\"\r\nContent-Transfer-Encoding: " + value +
                                 "\r\nContent-Disposition: attachment; filename=\"" + value +
                                 "\"\r\n\r\nthe body of the part\r\n--b--\r\n",
                             "seen text", 1});
        }
    for (size_t const width : {sizeof ParsedHeaders::boundary - 2, sizeof ParsedHeaders::boundary})
        for (size_t const size : around(width)) {
            std::string const boundary(size, 'b');
            mails.push_back(
                {"boundary field", Multipart("boundary field", boundary) + TextPart(boundary, "text"), ""});
        }
    return mails;
}

} // namespace

std::vector<HostileMail> MakeHostileMail() {
    std::vector<HostileMail> mails = {Names(), ManyParts(), Nested()};
    for (auto const &group : {Boundaries(), Bytes(), Widths()})
        mails.insert(mails.end(), group.begin(), group.end());
    return mails;
}
