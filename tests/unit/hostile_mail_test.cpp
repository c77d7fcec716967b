// Mail written to hurt: it opens in linear time, shows what can be shown and leads nobody out of its text.

#include "mail_page.h"

#include <algorithm>
#include <ctime>

namespace {

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

/// `make(n)` is a message of about n units. Four times as many must not take much more than four times as long; of
/// quadratic time it is sixteen times.
template <class Make> void ExpectLinear(char const *what, Make make, size_t units) {
    double const one = std::max(Seconds(make(units)), 0.002);
    double const four = Seconds(make(4 * units));
    EXPECT_LT(four, 10 * one) << what;
}

std::string Repeated(std::string const &text, size_t count) {
    std::string all;
    all.reserve(text.size() * count);
    while (count--)
        all += text;
    return all;
}

TEST(HostileMail, TimeGrowsWithTheText) {
    ExpectLinear(
        "text parts", [](size_t n) { return Multipart(Repeated("--b\r\n\r\nabcdefghijk\r\n", n) + "--b--\r\n"); },
        3'000);
    ExpectLinear(
        "attachments",
        [](size_t n) { return Multipart(Repeated("--b\r\nContent-Type: x\r\n\r\nabcd\r\n", n) + "--b--\r\n"); },
        5'000);
    ExpectLinear(
        "boundaries in one header block",
        [](size_t n) { return Multipart(Repeated("--b\r\n", n) + "\r\nabcd\r\n--b--\r\n"); }, 20'000);
    ExpectLinear(
        "boundaries alone", [](size_t n) { return Multipart(Repeated("--b\n", n)); }, 100'000);
    ExpectLinear(
        "near misses of a long boundary",
        [](size_t n) {
            std::string const boundary = std::string(100, '-') + "x" + std::string(150, '-');
            return Multipart("--" + boundary + "\r\n\r\n" + std::string(50 * n, '-') + "\r\n--" + boundary, boundary);
        },
        10'000);
    ExpectLinear(
        "header lines behind a name",
        [](size_t n) {
            return Multipart("--b\r\n\tname=\"" + std::string(n, 'n') + "\"\r\n" + Repeated("\tx\n", 1'000 * n) +
                             "\r\nabcd\r\n--b--\r\n");
        },
        240);
    ExpectLinear(
        "one header line", [](size_t n) { return "X: " + std::string(100 * n, 'x') + "\r\n\r\nb"; }, 10'000);
}

TEST(HostileMail, AllOfTenThousandParts) {
    std::string parts;
    for (int i = 0; i < 10'000; i++)
        parts += "--b\r\nContent-Type: a/b; name=" + std::to_string(i) + "\r\n\r\nbody\r\n";
    auto const mail = RenderMail(Multipart(parts + "--b--\r\n"));
    ASSERT_EQ(mail->sink.items.size(), 10'000u);
    EXPECT_EQ(mail->sink.items.back().label, "9999");
}

TEST(HostileMail, NestedParts) {
    std::string text = "Content-Type: multipart/mixed; boundary=\"n0\"\r\n\r\n";
    for (int depth = 0; depth < 1000; depth++)
        text += "--n" + std::to_string(depth) + "\r\nContent-Type: multipart/mixed; boundary=\"n" +
                std::to_string(depth + 1) + "\"\r\n\r\n";
    auto const mail = RenderMail(text + "deep\r\n--n0--\r\n");
    ASSERT_EQ(mail->sink.items.size(), 1u);
    EXPECT_EQ(mail->sink.items[0].label, "unknown");
}

TEST(HostileMail, Boundaries) {
    std::string const part = "\r\nContent-Type: text/plain\r\n\r\n";
    EXPECT_EQ(RenderMail(Multipart("no boundary at all"), true)->page, "");
    EXPECT_EQ(RenderMail(Multipart("--b" + part + "never ends"), true)->page, "");
    EXPECT_EQ(RenderMail(Multipart("--b"), true)->page, "");
    // One boundary is the begin of another: both count.
    EXPECT_EQ(RenderMail(Multipart("--b" + part + "outer\r\n--bb" + part + "inner\r\n--b--\r\n"), true)->page,
              "outerinner");
    // An overlong one is kept to its field's width, which still finds its lines.
    std::string const boundary(1990, 'q');
    auto const mail =
        RenderMail("Content-Type: multipart/mixed;\r\n boundary=\"" + boundary + "qqqqqqqqqq\"\r\n\r\n--" + boundary +
                       "qqqqqqqqqq" + part + "text\r\n--" + boundary + "qqqqqqqqqq--\r\n",
                   true);
    EXPECT_EQ(mail->page, "text");
    // An empty parameter leaves two dashes.
    EXPECT_EQ(RenderMail(Multipart("--" + part + "text\r\n----\r\n", ""), true)->page, "text");
}

TEST(HostileMail, BytesThatAreNoText) {
    std::vector<std::string> const messages = {
        std::string(8, '\r'),
        std::string(100'000, '\r'),
        std::string(100'000, '\n'),
        std::string("From: a\0b\r\n\r\nbody", 17),
        std::string(1, 0),
        std::string(10, '\xff'),
        "Content-Type: multipart/mixed; boundary=\"\xff\"\r\n\r\n--\xff\r\n\r\nabc\r\n--\xff",
        "--b--b--b",
        "Subject: " + std::string(1'000'000, 's'),
    };
    for (std::string const &message : messages)
        EXPECT_TRUE(RenderMail(message)->page.ends_with("</BODY></HTML>\n"));
    EXPECT_EQ(RenderMail("From: a\r\n\r\n" + std::string(9, '\r'), true)->page, "\n");
}

TEST(HostileMail, EveryPrefixOfARealMessage) {
    // Ends in every place a transfer can be cut off, under a memory checker.
    std::string const message =
        "From: a\r\nTo: b\r\n c\r\n" +
        Multipart(
            "--b\r\nContent-Type: text/plain\r\n\r\nHello\r\n--b\r\nContent-Type: image/gif;\r\n name=\"a.gif\"\r\n"
            "Content-Transfer-Encoding: base64\r\n\r\nR0lGODlhAQABAAAAACw=\r\n--b\r\nContent-Type: a/b;\r\n"
            "\tname=\"x\"\r\nContent-Disposition: attachment;\r\n filename=\"y\"\r\n\r\nabcd\r\n--b--\r\n");
    size_t most = 0;
    for (size_t length = 0; length <= message.size(); length++) {
        auto const mail = RenderMail(message.substr(0, length));
        EXPECT_GE(mail->sink.items.size(), most) << length;
        most = mail->sink.items.size();
    }
    EXPECT_EQ(most, 2u);
}

TEST(HostileMail, LongNames) {
    for (size_t length : {198, 199, 200, 300, 950}) {
        std::string const name(length, 'n');
        auto const mail = RenderMail(Multipart("--b\r\nContent-Type: a/b;\r\n\tname=\"" + name +
                                               "\"\r\nContent-Disposition: x;\r\n\tfilename=\"-" + name +
                                               "\"\r\n\r\nabcd\r\n--b--\r\n"));
        ASSERT_EQ(mail->sink.items.size(), 1u);
        EXPECT_EQ(mail->sink.items[0].name, name);
        EXPECT_EQ(mail->sink.items[0].label, "-" + name);
    }
}

} // namespace
