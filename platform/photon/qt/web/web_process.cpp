#include "qt/web/web_process.h"

#include <QCoreApplication>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

constexpr std::chrono::seconds kHelloTime{5};
constexpr std::chrono::milliseconds kQuitTime{200};

int PollUntil(pollfd &waiting, WebProcess::Clock::time_point deadline) {
    for (;;) {
        auto const left = std::chrono::ceil<std::chrono::milliseconds>(deadline - WebProcess::Clock::now()).count();
        int const ready = poll(&waiting, 1, static_cast<int>(std::clamp<int64_t>(left, 0, 60'000)));
        if (ready >= 0 || errno != EINTR)
            return ready;
    }
}

std::vector<std::string> Split(std::string const &text, char separator) {
    std::vector<std::string> parts;
    for (size_t at = 0; at < text.size();) {
        size_t const end = std::min(text.find(separator, at), text.size());
        if (end > at)
            parts.push_back(text.substr(at, end - at));
        at = end + 1;
    }
    return parts;
}

/// The paths where a program may be, best first.
std::vector<std::string> Candidates(std::string const &program) {
    constexpr std::string_view kServerPath = "/usr/photon/bin/vserver"; // where Photon itself has it
    bool const helper_only = program == kServerPath;
    if (program.find('/') != std::string::npos && !helper_only)
        return {program};
    std::vector<std::string> directories = HelperDirectories();
    char const *const path = getenv("PATH");
    if (!helper_only && path)
        for (std::string &directory : Split(path, ':'))
            directories.push_back(std::move(directory));
    std::string const name = helper_only ? "vserver" : program;
    std::vector<std::string> paths;
    if (helper_only)
        paths.push_back(program);
    for (std::string const &directory : directories)
        if (directory[0] == '/')
            paths.push_back(directory + "/" + name);
    return paths;
}

/// How a child is to start: its descriptors and signals.
class SpawnSettings {
  public:
    explicit SpawnSettings(int socket) {
        posix_spawn_file_actions_init(&actions_);
        posix_spawnattr_init(&attributes_);
        sigset_t none, all;
        sigemptyset(&none);
        sigfillset(&all);
        posix_spawnattr_setsigmask(&attributes_, &none);
        posix_spawnattr_setsigdefault(&attributes_, &all);
        posix_spawnattr_setflags(&attributes_, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
        error_ = posix_spawn_file_actions_adddup2(&actions_, socket, vserver::kServerSocket);
        for (int const standard : {STDIN_FILENO, STDOUT_FILENO})
            if (error_ == 0)
                error_ = posix_spawn_file_actions_addopen(&actions_, standard, "/dev/null", O_RDWR, 0);
        if (error_ == 0)
            error_ = posix_spawn_file_actions_addclosefrom_np(&actions_, vserver::kServerSocket + 1);
    }
    ~SpawnSettings() {
        posix_spawn_file_actions_destroy(&actions_);
        posix_spawnattr_destroy(&attributes_);
    }
    SpawnSettings(SpawnSettings const &) = delete;
    SpawnSettings &operator=(SpawnSettings const &) = delete;

    /// Starts the first of `paths` that can be. Returns 0 or why the last could not.
    int Spawn(std::vector<std::string> const &paths, std::vector<char *> const &arguments, pid_t &pid) const {
        int error = error_ ? error_ : ENOENT;
        for (std::string const &path : paths) {
            if (error_ != 0)
                break;
            int const result = posix_spawn(&pid, path.c_str(), &actions_, &attributes_, arguments.data(), environ);
            if (result == 0)
                return 0;
            if (result != ENOENT && result != ENOTDIR)
                error = result;
        }
        return error;
    }

  private:
    posix_spawn_file_actions_t actions_;
    posix_spawnattr_t attributes_;
    int error_ = 0;
};

} // namespace

std::vector<std::string> HelperDirectories() {
    std::string const own = QCoreApplication::applicationDirPath().toStdString();
    std::vector<std::string> directories{own + "/../libexec/corvanta"};
#ifdef CORVANTA_BUILD_TREE // a package names no path of the machine it was made on
    if ((own + "/").starts_with(CORVANTA_BUILD_TREE "/"))
        directories.insert(directories.begin(), CORVANTA_BUILD_VSERVER);
#endif
    return directories;
}

int WebProcess::Start(std::string const &command, std::vector<std::string> const &roots) {
    Stop();
    std::vector<std::string> words = Split(command, ' ');
    if (words.empty())
        return ENOENT;
    std::vector<std::string> const paths = Candidates(words[0]);
    for (std::string const &root : roots) {
        words.emplace_back("-r");
        words.push_back(root);
    }
    std::vector<char *> arguments;
    for (std::string &word : words)
        arguments.push_back(word.data());
    arguments.push_back(nullptr);

    int ends[2];
    if (socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends) != 0)
        return errno;
    Fd ours(ends[0]);
    Fd theirs(ends[1]);
    fcntl(ours.Get(), F_SETFL, O_NONBLOCK); // the window never waits for a server that does not read
    if (int const error = SpawnSettings(theirs.Get()).Spawn(paths, arguments, pid_)) {
        pid_ = -1;
        return error;
    }
    theirs.Reset(); // or a child that ends could not be noticed
    socket_ = std::move(ours);
    return AwaitHello();
}

int WebProcess::AwaitHello() {
    if (!Wait(Clock::now() + kHelloTime)) {
        Stop();
        return ETIMEDOUT;
    }
    vserver::Packet packet;
    vserver::Received const received = Receive(packet);
    if (received == vserver::Received::Message && packet.header.kind == vserver::Kind::Hello) {
        names_images_ = packet.header.value[1] == 1;
        return 0;
    }
    Stop();
    return received == vserver::Received::Closed ? ECONNRESET : EPROTO;
}

void WebProcess::Stop() {
    if (socket_.Valid()) {
        vserver::Send(socket_.Get(), vserver::Kind::Quit, 0);
        socket_.Reset();
    }
    if (pid_ <= 0)
        return;
    Fd const process(static_cast<int>(syscall(SYS_pidfd_open, pid_, 0)));
    pollfd waiting{process.Get(), POLLIN, 0};
    if (!process.Valid() || PollUntil(waiting, Clock::now() + kQuitTime) <= 0)
        kill(pid_, SIGKILL);
    while (waitpid(pid_, nullptr, 0) < 0 && errno == EINTR)
        ;
    pid_ = -1;
}

int WebProcess::Load(uint32_t id, std::string const &url) {
    if (url.empty() || url.size() > vserver::kMaxText)
        return EINVAL;
    return vserver::Send(socket_.Get(), vserver::Kind::Load, id, {}, url);
}

vserver::Received WebProcess::Receive(vserver::Packet &packet) {
    vserver::Received const received = vserver::Receive(socket_.Get(), packet);
    if (received == vserver::Received::Closed || received == vserver::Received::Bad)
        Stop();
    return received;
}

bool WebProcess::Wait(Clock::time_point deadline) const {
    pollfd waiting{socket_.Get(), POLLIN, 0};
    return PollUntil(waiting, deadline) > 0;
}
