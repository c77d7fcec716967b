// The page server, the real program, spoken to over its own protocol.

#include "vserver/page_server.h"

#include <algorithm>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>

namespace vserver {
namespace {

/// A 4 by 2 GIF of two frames: red, then green.
std::string AnimatedGif() {
    std::string const frame("\x21\xF9\x04\0\x0A\0\0\0\x2C\0\0\0\0\x04\0\x02\0\0\x02", 19);
    std::string const red("\x07\x04\x41\x10\x04\x41\x10\x05\0", 9), green("\x07\x0C\xC3\x30\x0C\xC3\x30\x05\0", 9);
    return std::string("GIF89a\x04\0\x02\0\x80\0\0\xFF\0\0\0\xFF\0", 19) + frame + red + frame + green + ";";
}

TEST_F(PageServer, CleansThePageAndReadsItAnewEachTime) {
    place_.Write("msg.html", "<script>x</script><b>one</b>");
    EXPECT_EQ(Page(Url("msg.html")), "<b>one</b>");
    place_.Write("msg.html", "two");
    EXPECT_EQ(Page(Url("msg.html")), "two");
    place_.Write("msg.html", "");
    EXPECT_EQ(Page(Url("msg.html")), "");
}

TEST_F(PageServer, DecodesImages) {
    QImage pattern(300, 301, QImage::Format_ARGB32); // more than one strip
    for (int y = 0; y < pattern.height(); ++y)
        for (int x = 0; x < pattern.width(); ++x)
            pattern.setPixel(x, y, qRgba(x & 255, y & 255, (x * y) & 255, 255 - (x & 127)));
    QImage gray(64, 64, QImage::Format_Grayscale8);
    gray.fill(100);
    place_.Write("a.png", Encoded(pattern, "png"));
    place_.Write("b", Encoded(gray, "jpg"));
    place_.Write("c.gif", AnimatedGif());
    place_.Write("d.bmp", Encoded(pattern.convertToFormat(QImage::Format_RGB32), "bmp"));
    place_.Write("p.html", "<img src=a.png><img src=b><img src=c.gif><img src=gone.png><img src=d.bmp>");
    EXPECT_EQ(Page(Url("p.html")), "<img src=\"img:0\"><img src=\"img:1\"><img src=\"img:2\"><img src=\"img:3\">"
                                   "<img src=\"img:4\">");
    // The page has been answered: its files may go.
    fs::remove_all(place_.Path());
    std::vector<QImage> const images = TakeImages();
    ASSERT_EQ(images.size(), 5u);
    EXPECT_EQ(images[0], pattern.convertToFormat(QImage::Format_RGBA8888));
    ASSERT_EQ(images[1].size(), QSize(64, 64));
    EXPECT_NEAR(qRed(images[1].pixel(30, 30)), 100, 3);
    ASSERT_EQ(images[2].size(), QSize(4, 2));
    EXPECT_EQ(images[2].pixel(3, 1), qRgb(255, 0, 0)) << "the first frame";
    EXPECT_TRUE(images[3].isNull());
    EXPECT_EQ(images[4].pixel(7, 9), qRgb(7, 9, 63));
}

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
    fs::create_symlink("/usr/share/pixmaps/debian-logo.png", place_ / "sub/link.png");
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

TEST_F(PageServer, RefusesBrokenImages) {
    // What only claims to have pixels, and a format that is none.
    std::string lie = Encoded(QImage(64, 64, QImage::Format_RGB32), "png");
    lie.replace(16, 8, std::string("\x00\x00\x10\x00\x00\x00\x10\x00", 8));
    place_.Write("0", lie);
    place_.Write("1", "GIF89a");
    place_.Write("2", "");
    place_.Write("3", "<svg xmlns='http://www.w3.org/2000/svg' width='9' height='9'/>");
    place_.Write("4", Encoded(QImage(20'000, 1, QImage::Format_Mono), "bmp"));
    place_.Write("p.html", "<img src=0><img src=1><img src=2><img src=3><img src=4>ok");
    EXPECT_TRUE(Page(Url("p.html")).ends_with("ok"));
    std::vector<QImage> const images = TakeImages();
    ASSERT_EQ(images.size(), 5u);
    for (size_t const bad : {1, 2, 3, 4})
        EXPECT_TRUE(images[bad].isNull()) << bad;
    EXPECT_FALSE(Refused(Url("p.html"))) << "and it goes on";
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

TEST_F(PageServer, KeepsNoDescriptorsMemoryOrProcesses) {
    auto const descriptors = [&] {
        auto const all = fs::directory_iterator("/proc/" + std::to_string(server_.Pid()) + "/fd");
        return std::distance(begin(all), end(all));
    };
    place_.Write("a.png", Encoded(QImage(50, 50, QImage::Format_RGB32), "png"));
    place_.Write("p.html", "<img src=a.png><img src=gone>x");
    auto const before = descriptors();
    for (int i = 0; i < 100; ++i) {
        ASSERT_FALSE(Refused(Url("p.html")));
        ASSERT_EQ(TakeImages().size(), 2u);
    }
    for (int i = 0; i < 200 && descriptors() != before; ++i)
        usleep(10'000); // it may just be closing the last
    EXPECT_EQ(descriptors(), before);
    std::string children;
    std::ifstream("/proc/" + std::to_string(server_.Pid()) + "/task/" + std::to_string(server_.Pid()) +
                  "/children") >>
        children;
    EXPECT_EQ(children, "") << "no zombies";
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

TEST(PageServerCalls, WorkersOpenNothingAndNobodyReachesTheNetwork) {
    if (system("strace -V >/dev/null 2>&1") != 0)
        GTEST_SKIP() << "strace is not installed";
    Place const place;
    place.Write("a.png", Encoded(QImage(900, 900, QImage::Format_ARGB32_Premultiplied), "png"));
    place.Write("b.jpg", Encoded(QImage(900, 900, QImage::Format_RGB32), "jpg"));
    place.Write("c.gif", AnimatedGif());
    place.Write("p.html", "<img src=a.png><img src=b.jpg><img src=c.gif><img src=http://127.0.0.1:9/x.png><a "
                          "href=http://127.0.0.1:9/>x</a><link rel=stylesheet href=http://127.0.0.1:9/x.css><iframe "
                          "src=http://127.0.0.1:9/></iframe><body background=http://127.0.0.1:9/>");
    std::string const log = place / "log";
    pid_t server = 0;
    {
        Running traced({"strace", "-f", "-qq", "-o", log, "-e",
                        "trace=execve,open,openat,openat2,clone,clone3,fork,vfork,socket,connect,sendto,bind",
                        VSERVER_PROGRAM, "-n", "Test", "-r", place.Path()});
        ASSERT_EQ(traced.Next().header.kind, Kind::Hello);
        ASSERT_EQ(Send(traced.Socket(), Kind::Load, 1, {}, "file://" + place.Path() + "/p.html"), 0);
        ASSERT_EQ(traced.Next().header.kind, Kind::Page);
        for (int i = 0; i < 3; ++i) {
            Packet const image = traced.Next();
            ASSERT_EQ(image.header.kind, Kind::Image);
            EXPECT_GT(image.header.value[1], 0u);
        }
    }
    std::ifstream lines(log);
    size_t forks = 0;
    for (std::string line; std::getline(lines, line);) {
        pid_t const caller = static_cast<pid_t>(strtol(line.c_str(), nullptr, 10));
        server = server ? server : caller;
        EXPECT_EQ(line.find("connect("), std::string::npos) << line;
        EXPECT_EQ(line.find("socket("), std::string::npos) << line;
        bool const call = line.find('(') != std::string::npos && line.find("--- ") == std::string::npos;
        EXPECT_FALSE(caller != server && call) << "a worker: " << line;
        forks += line.find("clone") != std::string::npos && caller == server;
    }
    EXPECT_GE(forks, 4u) << "one worker for the page and one for each image";
}

TEST(PageServerMemory, OnlySealedFilesOfTheRightSizeAreBelieved) {
    Fd const memory = MakeMemory("test");
    ASSERT_EQ(write(memory.Get(), "12345", 5), 5);
    EXPECT_FALSE(SealedBytes(memory.Get(), 5).Valid()) << "not sealed";
    ASSERT_EQ(fcntl(memory.Get(), F_ADD_SEALS, F_SEAL_SHRINK | F_SEAL_GROW | F_SEAL_SEAL), 0);
    EXPECT_FALSE(SealedBytes(memory.Get(), 5).Valid()) << "its writer could still change it";
    Fd const sealed = MakeMemory("test");
    ASSERT_EQ(write(sealed.Get(), "12345", 5), 5);
    void *const mapped = mmap(nullptr, 5, PROT_READ | PROT_WRITE, MAP_SHARED, sealed.Get(), 0);
    ASSERT_NE(mapped, MAP_FAILED);
    EXPECT_FALSE(Seal(sealed.Get())) << "mapped for writing";
    munmap(mapped, 5);
    EXPECT_TRUE(Seal(sealed.Get()));
    EXPECT_FALSE(SealedBytes(sealed.Get(), 6).Valid());
    EXPECT_EQ(SealedBytes(sealed.Get(), 5).Bytes(), "12345");
    EXPECT_FALSE(SealedBytes(STDIN_FILENO, 0).Valid());
}

TEST(PageServerMemory, MessagesThatBreakTheRulesAreRefused) {
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
    EXPECT_EQ(arrives(Kind::Page, {0, 0, 0}, "", false), Received::Bad);
    EXPECT_EQ(arrives(Kind::Page, {kMaxImages + 1, 0, 0}, "", true), Received::Bad);
    EXPECT_EQ(arrives(Kind::Image, {0, 10, 10}, "", true), Received::Message);
    EXPECT_EQ(arrives(Kind::Image, {0, 10, 10}, "", false), Received::Bad);
    EXPECT_EQ(arrives(Kind::Image, {0, 0, 10}, "", true), Received::Bad);
    EXPECT_EQ(arrives(Kind::Image, {0, kMaxImageSide, kMaxImageSide}, "", true), Received::Bad);
    EXPECT_EQ(arrives(Kind::Image, {kMaxImages, 1, 1}, "", true), Received::Bad);
    EXPECT_EQ(arrives(Kind::Load, {}, "", false), Received::Bad);
    EXPECT_EQ(arrives(Kind::Hello, {kVersion + 1, 0, 0}, "", false), Received::Bad);
    EXPECT_EQ(arrives(static_cast<Kind>(77), {}, "", false), Received::Bad);
    Packet packet;
    EXPECT_EQ(Receive(right.Get(), packet), Received::Nothing);
}

} // namespace
} // namespace vserver
