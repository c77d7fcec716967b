#pragma once
// The page server, the real program, and a test's end of its connection.

#include "vserver/protocol.h"

#include <QBuffer>
#include <QByteArray>
#include <QImage>

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <linux/seccomp.h>
#include <poll.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

namespace vserver {

namespace fs = std::filesystem;
using namespace std::chrono_literals;

/// A directory of its own, removed at the end.
class Place {
  public:
    Place() {
        std::string pattern = testing::TempDir() + "vserver-XXXXXX";
        path_ = mkdtemp(pattern.data());
    }
    ~Place() { fs::remove_all(path_); }
    fs::path operator/(std::string const &name) const { return path_ / name; }
    std::string Path() const { return path_; }
    void Write(std::string const &name, std::string_view bytes) const {
        std::ofstream(path_ / name, std::ios::binary).write(bytes.data(), static_cast<long>(bytes.size()));
    }

  private:
    fs::path path_;
};

/// The processes that one has started and not yet waited for.
inline std::vector<pid_t> ChildrenOf(pid_t process) {
    std::string const pid = std::to_string(process);
    std::ifstream list("/proc/" + pid + "/task/" + pid + "/children");
    return {std::istream_iterator<pid_t>(list), {}};
}

/// Whether this kernel lets a process put a list of system calls on itself.
inline bool HasSeccomp() {
    uint32_t const action = SECCOMP_RET_KILL_PROCESS;
    return syscall(SYS_seccomp, SECCOMP_GET_ACTION_AVAIL, 0, &action) == 0;
}

/// The running program and our end of the connection.
class Running {
  public:
    explicit Running(std::vector<std::string> words) { Start(std::move(words)); }
    void Start(std::vector<std::string> words) {
        int ends[2];
        if (socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends) != 0)
            return;
        socket_.Reset(ends[0]);
        Fd const theirs(ends[1]);
        std::vector<char *> arguments;
        for (std::string &word : words)
            arguments.push_back(word.data());
        arguments.push_back(nullptr);
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_adddup2(&actions, theirs.Get(), kServerSocket);
        posix_spawnp(&pid_, arguments[0], &actions, nullptr, arguments.data(), environ);
        posix_spawn_file_actions_destroy(&actions);
    }
    ~Running() {
        socket_.Reset();
        Join();
    }

    int Socket() const { return socket_.Get(); }
    pid_t Pid() const { return pid_; }
    void Hang() { socket_.Reset(); }

    /// The exit status, -1 when it had to be killed after 60 s.
    int Join() {
        int status = 0;
        for (int i = 0; pid_ > 0 && i < 6000; ++i) {
            if (waitpid(pid_, &status, WNOHANG) == pid_) {
                pid_ = -1;
                return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
            }
            usleep(10'000);
        }
        if (pid_ > 0) {
            kill(pid_, SIGKILL);
            waitpid(pid_, &status, 0);
            pid_ = -1;
        }
        return -1;
    }

    /// The next message; kind Quit when the connection ended or nothing came.
    Packet Next(std::chrono::milliseconds time = 20s) {
        pollfd waiting{socket_.Get(), POLLIN, 0};
        Packet packet;
        if (poll(&waiting, 1, static_cast<int>(time.count())) != 1 ||
            Receive(socket_.Get(), packet) != Received::Message)
            packet.header.kind = Kind::Quit;
        return packet;
    }

  private:
    Fd socket_;
    pid_t pid_ = -1;
};

class PageServer : public testing::Test {
  protected:
    void SetUp() override { ASSERT_EQ(server_.Next().header.kind, Kind::Hello); }

    std::vector<std::string> Command() const {
        return {VSERVER_PROGRAM, "-n", "Test", "-r", place_.Path() + "/", "-r", place_.Path() + "-later"};
    }
    /// Starts another server, run by the program in `words`.
    void Restart(std::vector<std::string> words) {
        server_.Hang();
        server_.Join();
        for (std::string const &word : Command())
            words.push_back(word);
        server_.Start(words);
        ASSERT_EQ(server_.Next().header.kind, Kind::Hello);
    }
    std::string Url(std::string const &name) const { return "file://" + place_.Path() + "/" + name; }
    void Ask(std::string const &url) { ASSERT_EQ(Send(server_.Socket(), Kind::Load, ++id_, {}, url), 0); }

    /// The clean page of a URL, or "error: " and why there is none.
    std::string Page(std::string const &url) {
        Ask(url);
        Packet const packet = server_.Next();
        EXPECT_EQ(packet.header.id, id_);
        images_ = packet.header.kind == Kind::Page ? packet.header.value[0] : 0;
        if (packet.header.kind == Kind::Error)
            return "error: " + packet.text;
        SealedBytes const page(packet.descriptor.Get(), packet.header.value[1]);
        EXPECT_TRUE(packet.header.kind == Kind::Page && page.Valid());
        return std::string(page.Bytes());
    }
    bool Refused(std::string const &url) { return Page(url).starts_with("error: "); }

    /// Takes the images of the page last asked for; null ones could not be shown.
    std::vector<QImage> TakeImages() {
        std::vector<QImage> images(images_);
        frames_.clear();
        for (size_t i = 0; i < images.size(); ++i) {
            Packet const packet = server_.Next();
            auto const [number, width, height] = packet.header.value;
            EXPECT_EQ(packet.header.kind, Kind::Image);
            if (packet.header.kind != Kind::Image || width == 0) {
                frames_.push_back(packet.text);
                continue;
            }
            SealedBytes const pixels(packet.descriptor.Get(), size_t{width} * height * 4);
            EXPECT_TRUE(pixels.Valid());
            images.at(number) = QImage(reinterpret_cast<uchar const *>(pixels.Bytes().data()),
                                       static_cast<int>(width), static_cast<int>(height), QImage::Format_RGBA8888)
                                    .copy();
        }
        return images;
    }

    Place place_;
    Running server_{Command()};
    uint32_t id_ = 0;
    size_t images_ = 0;
    std::vector<std::string> frames_; ///< names of the images that could not be shown, as they came
};

inline std::string Encoded(QImage const &image, char const *format) {
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, format, std::string_view(format) == "png" ? -1 : 100); // 100 would not compress that
    return bytes.toStdString();
}

} // namespace vserver
