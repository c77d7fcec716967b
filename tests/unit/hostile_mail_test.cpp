// Mail written to hurt: it opens in linear time, shows what can be shown and leads nobody out of its text.

#include "mail_page.h"

#include <algorithm>
#include <ctime>
#include <functional>

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
