// What the page server's sandbox costs: a page and its images, from asking for it until the last image is there, by
// the server as it is and by one that was built without a sandbox (vserver_open, which is never installed).

#include "runs.h"

#include "vserver/page_server.h"

#include <cstdio>

namespace {

using vserver::Kind;

constexpr size_t kPages = 60;

/// Seconds that a page and its images take; negative when they do not come.
double Show(vserver::Running &server, std::string const &url) {
    static uint32_t id = 0;
    Figures const start = Now();
    if (vserver::Send(server.Socket(), Kind::Load, ++id, {}, url) != 0)
        return -1;
    vserver::Packet packet = server.Next();
    if (packet.header.kind != Kind::Page)
        return -1;
    for (uint32_t left = packet.header.value[0]; left > 0; --left) {
        packet = server.Next();
        if (packet.header.kind != Kind::Image || packet.header.value[1] == 0)
            return -1;
    }
    return Since(start).wall;
}

/// Seconds from starting a server to its hello; negative when it does not come.
double Start(char const *program, std::string const &root) {
    Figures const start = Now();
    vserver::Running server({program, "-n", "Bench", "-r", root});
    return server.Next().header.kind == Kind::Hello ? Since(start).wall : -1;
}

/// Prints a row of the medians, with what is more. False when something has failed.
bool Compare(std::string const &what, std::vector<Figures> const &ours, std::vector<Figures> const &open,
             char const *aim) {
    for (auto const *figures : {&ours, &open})
        for (Figures const &each : *figures)
            if (each.wall < 0) {
                fprintf(stderr, "sandbox_bench: %s: no answer\n", what.c_str());
                return false;
            }
    double const with = Medians(ours).wall, without = Medians(open).wall;
    char more[64];
    snprintf(more, sizeof more, " (%+.1f ms)", (with - without) * 1e3);
    PrintRow(what + more, with * 1e3, without * 1e3, "ms", aim);
    return true;
}

} // namespace

int main() {
    vserver::Place const place;
    std::string page;
    for (int i = 0; i < 10; ++i) {
        QImage image(640, 480, QImage::Format_RGB32);
        for (int y = 0; y < image.height(); ++y)
            for (int x = 0; x < image.width(); ++x)
                image.setPixel(x, y, qRgb(x & 255, y & 255, (x * y >> 4) & 255));
        std::string const name = std::to_string(i);
        place.Write(name, vserver::Encoded(image, i % 2 ? "png" : "jpg"));
        page += "<img src=" + name + ">";
    }
    place.Write("images.html", page);
    place.Write("text.html", "A page of text");

    bool good = true;
    vserver::Running shut({VSERVER_PROGRAM, "-n", "Bench", "-r", place.Path()});
    vserver::Running open({VSERVER_OPEN_PROGRAM, "-n", "Bench", "-r", place.Path()});
    if (shut.Next().header.kind != Kind::Hello || open.Next().header.kind != Kind::Hello)
        return 1;
    auto const url = "file://" + place.Path() + "/";
    for (auto const &[what, name, aim] :
         {std::tuple{"a page of text, in the sandbox and without", "text.html", ""},
          std::tuple{"a page with 10 images, in the sandbox and without", "images.html", "under 20 ms more"}}) {
        std::vector<Figures> ours, limit;
        for (size_t i = 0; i < kPages; ++i) {
            ours.push_back({Show(shut, url + name), 0, 0});
            limit.push_back({Show(open, url + name), 0, 0});
        }
        good = Compare(what, ours, limit, aim) && good;
    }
    std::vector<Figures> ours, limit;
    for (int i = 0; i < 15; ++i) {
        ours.push_back({Start(VSERVER_PROGRAM, place.Path()), 0, 0});
        limit.push_back({Start(VSERVER_OPEN_PROGRAM, place.Path()), 0, 0});
    }
    return Compare("start of the page server, with a sandbox and without", ours, limit, "") && good ? 0 : 1;
}
