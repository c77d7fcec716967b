// The page server, the real program, spoken to over its own protocol.

#include "vserver/page_server.h"

#include <algorithm>
#include <sys/stat.h>

namespace vserver {
namespace {

TEST_F(PageServer, OpensNothingButPlainFilesBelowItsRoots) {
    place_.Write("p.html", "secret");
    place_.Write("big.html", "x");
    fs::resize_file(place_ / "big.html", kMaxPageBytes + 1);
    fs::create_directory(place_ / "sub");
    place_.Write("sub/q.html", "<img src=link.png><img src=fifo><img src=sub><img src=big.png>");
    fs::create_symlink(place_ / "p.html", place_ / "link.html");
    fs::create_symlink("sub", place_ / "linked");
    fs::create_symlink("/etc", place_ / "etc");
    ASSERT_EQ(mkfifo((place_ / "fifo.html").c_str(), 0600), 0);
    place_.Write("good.png", Encoded(QImage(3, 3, QImage::Format_RGB32), "png"));
    fs::create_symlink("../good.png", place_ / "sub/link.png");
    ASSERT_EQ(mkfifo((place_ / "sub/fifo").c_str(), 0600), 0);
    fs::create_directory(place_ / "sub/sub");
    place_.Write("sub/big.png", "\x89PNG");
    fs::resize_file(place_ / "sub/big.png", kMaxImageBytes + 1);

    for (char const *name : {"link.html", "linked/q.html", "etc/passwd", "fifo.html", "big.html", "sub", "sub/", "",
                             "gone", "../p.html", "sub/../p.html", ".."})
        EXPECT_TRUE(Refused(Url(name))) << name;
    std::string const place = place_.Path();
    for (std::string const &url :
         {std::string("file:///etc/passwd"), "http://localhost" + place + "/p.html", place + "/p.html",
          "file://localhost" + place + "/p.html", "file://" + place + "-other/p.html", "FILE://" + place + "/p.html",
          std::string("x"), "file://" + place + "/p.html?x", std::string(kMaxText, 'x')})
        EXPECT_TRUE(Refused(url)) << url;
    EXPECT_EQ(Page("file://" + place + "//p.html"), "secret");

    EXPECT_FALSE(Refused(Url("sub/q.html")));
    std::vector<QImage> const images = TakeImages();
    EXPECT_EQ(images.size(), 4u);
    for (QImage const &image : images)
        EXPECT_TRUE(image.isNull());
}

TEST_F(PageServer, ANewPageEndsTheOneBefore) {
    QImage const image(2000, 2000, QImage::Format_RGB32);
    std::string page;
    for (int i = 0; i < 20; ++i) {
        place_.Write(std::to_string(i), Encoded(image, "bmp"));
        page += "<img src=" + std::to_string(i) + ">";
    }
    place_.Write("many.html", page);
    place_.Write("one.html", "one");
    for (int i = 0; i < 10; ++i)
        Ask(Url("many.html"));
    Ask(Url("one.html"));
    Packet packet;
    do
        packet = server_.Next();
    while (packet.header.kind != Kind::Quit && packet.header.id != id_);
    EXPECT_EQ(packet.header.kind, Kind::Page);
    EXPECT_EQ(server_.Next(300ms).header.kind, Kind::Quit) << "nothing more of the pages before";
}

TEST_F(PageServer, EndsWithItsViewAndAtNonsense) {
    server_.Hang();
    EXPECT_EQ(server_.Join(), 0);
    for (std::string const &nonsense :
         {std::string("x"), std::string(sizeof(Header), '\0'), std::string(9000, 'x')}) {
        Running other({VSERVER_PROGRAM, "-n", "Test"});
        ASSERT_EQ(other.Next().header.kind, Kind::Hello);
        ASSERT_GT(send(other.Socket(), nonsense.data(), nonsense.size(), MSG_NOSIGNAL), 0);
        EXPECT_EQ(other.Next().header.kind, Kind::Quit);
        EXPECT_EQ(other.Join(), 0);
    }
    EXPECT_EQ(Running({VSERVER_PROGRAM, "-n", "Test", "-x"}).Join(), 2);
}

TEST(PageServerProtocol, MessagesThatBreakTheRulesAreRefused) {
    int ends[2];
    ASSERT_EQ(socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends), 0);
    Fd const left(ends[0]), right(ends[1]), memory = MakeMemory("test");
    auto const arrives = [&](Kind kind, std::array<uint32_t, 3> value, std::string_view text, bool with_memory) {
        EXPECT_EQ(Send(left.Get(), kind, 1, value, text, with_memory ? memory.Get() : -1), 0);
        Packet packet;
        Received const received = Receive(right.Get(), packet);
        EXPECT_EQ(packet.descriptor.Valid(), with_memory && received == Received::Message);
        return received;
    };
    EXPECT_EQ(arrives(Kind::Page, {0, 0, 0}, "", true), Received::Message);
    EXPECT_EQ(arrives(Kind::Image, {0, 10, 10}, "", true), Received::Message);
    struct {
        Kind kind;
        std::array<uint32_t, 3> value;
        bool with_memory;
    } const bad[] = {
        {Kind::Page, {0, 0, 0}, false},
        {Kind::Page, {kMaxImages + 1, 0, 0}, true},
        {Kind::Page, {0, kMaxCleanBytes + 1, 0}, true},
        {Kind::Image, {0, 10, 10}, false},
        {Kind::Image, {0, 0, 10}, true},
        {Kind::Image, {0, kMaxImageSide, kMaxImageSide}, true},
        {Kind::Image, {0, kMaxImageSide + 1, 1}, true},
        {Kind::Image, {kMaxImages, 1, 1}, true},
        {Kind::Error, {2, 0, 0}, false},
        {Kind::Load, {}, false},
        {Kind::Hello, {kVersion + 1, 0, 0}, false},
        {static_cast<Kind>(77), {}, false},
    };
    for (auto const &[kind, value, with_memory] : bad)
        EXPECT_EQ(arrives(kind, value, "", with_memory), Received::Bad) << static_cast<int>(kind) << " " << value[0];
    Packet packet;
    EXPECT_EQ(Receive(right.Get(), packet), Received::Nothing);
}

} // namespace
} // namespace vserver
