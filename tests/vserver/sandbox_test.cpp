// What the two sandboxes of the page server leave to a process, and what ends it. Each case runs in a child, which
// says by its exit status how it went; a forbidden call is its death by SIGSYS.

#include "sandbox/landlock.h"
#include "sandbox/sandbox.h"
#include "vserver/page_server.h"

#include <cerrno>
#include <fcntl.h>
#include <functional>
#include <linux/openat2.h>
#include <linux/sched.h>
#include <sys/mman.h>
#include <sys/ptrace.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <thread>

namespace vserver {
namespace {

using namespace sandbox;

class Sandbox : public testing::Test {
    void SetUp() override {
        if (!HasSeccomp())
            GTEST_SKIP() << "this kernel has no seccomp";
    }
};

constexpr int kNotShutIn = 99;

/// How a child that did `work` ended: its exit status, or minus the signal.
int End(std::function<int()> const &work) {
    pid_t const child = fork();
    if (child == 0)
        _exit(work());
    int status = 0;
    EXPECT_EQ(waitpid(child, &status, 0), child);
    return WIFSIGNALED(status) ? -WTERMSIG(status) : WEXITSTATUS(status);
}

/// In a worker's sandbox, with descriptor 3 at the start of a file "12345" and 4 an empty memory file.
int InWorker(std::function<int()> const &work) {
    pid_t const parent = getpid();
    return End([&] {
        // Not closed at the end: that is forbidden too.
        int const input = MakeMemory("input").Release(), output = MakeMemory("output").Release();
        if (write(input, "12345", 5) != 5 || dup2(input, 103) < 0 || dup2(output, 104) < 0 || dup2(103, 3) < 0 ||
            dup2(104, 4) < 0 || !EnterWorkerSandbox(3, 4, parent))
            return kNotShutIn;
        return work();
    });
}

int InServer(std::vector<std::string> const &roots, std::function<int()> const &work) {
    return End([&] { return EnterServerSandbox(roots) == Shut::Fully ? work() : kNotShutIn; });
}

struct Call {
    char const *name;
    std::function<long()> make;
};

long OpenAt2(char const *path) {
    open_how how{};
    how.flags = O_RDONLY | O_CLOEXEC;
    return syscall(SYS_openat2, AT_FDCWD, path, &how, sizeof how);
}

long Clone3() {
    clone_args arguments{};
    arguments.exit_signal = SIGCHLD;
    return syscall(SYS_clone3, &arguments, sizeof arguments);
}

/// What nobody may do, with what somebody who has taken over a process would try next.
std::vector<Call> const kForbidden{
    {"openat", [] { return syscall(SYS_openat, AT_FDCWD, "/etc/passwd", O_RDONLY, 0); }},
    {"socket", [] { return syscall(SYS_socket, AF_INET, SOCK_STREAM, 0); }},
    {"unix socket", [] { return syscall(SYS_socket, AF_UNIX, SOCK_STREAM, 0); }},
    {"connect", [] { return syscall(SYS_connect, 3, nullptr, 0); }},
    {"execve", [] { return syscall(SYS_execve, "/bin/true", nullptr, nullptr); }},
    {"execveat", [] { return syscall(SYS_execveat, AT_FDCWD, "/bin/true", nullptr, nullptr, 0); }},
    {"clone3", Clone3},
    {"thread", [] { return syscall(SYS_clone, CLONE_VM | CLONE_SIGHAND | CLONE_THREAD, nullptr, 0, 0, 0); }},
    {"name space", [] { return syscall(SYS_clone, CLONE_NEWUSER | SIGCHLD, nullptr, 0, 0, 0); }},
    {"ptrace", [] { return syscall(SYS_ptrace, PTRACE_TRACEME, 0, 0, 0); }},
    {"io_uring", [] { return syscall(SYS_io_uring_setup, 1, nullptr); }},
    {"ioctl", [] { return syscall(SYS_ioctl, 0, 0x5412, "x"); }},
    {"unlinkat", [] { return syscall(SYS_unlinkat, AT_FDCWD, "/nowhere/x", 0); }},
    {"code", [] { return syscall(SYS_mmap, 0, 4096, PROT_READ | PROT_EXEC, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0); }},
    {"SIGTERM", [] { return syscall(SYS_kill, getpid(), SIGTERM); }},
};

TEST_F(Sandbox, AForbiddenCallIsTheEndOfAWorker) {
    std::vector<Call> calls = kForbidden;
    calls.push_back({"openat2", [] { return OpenAt2("/etc/passwd"); }});
    calls.push_back({"fork", [] { return static_cast<long>(fork()); }});
    calls.push_back({"memory file", [] { return static_cast<long>(memfd_create("x", 0)); }});
    calls.push_back({"duplicate", [] { return static_cast<long>(dup(3)); }});
    calls.push_back({"limits", [] {
                         rlimit const limit{0, 0};
                         return static_cast<long>(setrlimit(RLIMIT_AS, &limit));
                     }});
    calls.push_back({"SIGKILL", [] { return static_cast<long>(kill(getppid(), SIGKILL)); }});
    for (Call const &call : calls)
        EXPECT_EQ(InWorker([&] { return call.make() < 0 ? 1 : 0; }), -SIGSYS) << call.name;
}

TEST_F(Sandbox, AWorkerIsStoppedByItsLimits) {
    // Processor time is not used up: a busy machine gives little of it.
    pid_t const parent = getpid(), worker = fork();
    if (worker == 0) {
        for (bool const shut = EnterWorkerSandbox(3, 4, parent); shut;)
            sched_yield();
        _exit(1);
    }
    rlimit time{};
    for (int i = 0; i < 6000 && time.rlim_max != kWorkerSeconds; ++i) {
        usleep(10'000);
        prlimit(worker, RLIMIT_CPU, nullptr, &time);
    }
    EXPECT_EQ(time.rlim_max, kWorkerSeconds);
    kill(worker, SIGKILL);
    waitpid(worker, nullptr, 0);
    EXPECT_EQ(InServer({},
                       [] {
                           void *const most =
                               mmap(nullptr, kWorkerMemory, PROT_READ, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
                           return most == MAP_FAILED ? 7 : 0;
                       }),
              7)
        << "memory, which its workers inherit";
    EXPECT_EQ(InServer({},
                       [] {
                           Fd const file = MakeMemory("large");
                           std::vector<char> const bytes(16u << 20);
                           for (int i = 0; i < 20; ++i)
                               if (write(file.Get(), bytes.data(), bytes.size()) < 0)
                                   return 1;
                           return 0;
                       }),
              -SIGXFSZ)
        << "file size";
}

TEST_F(Sandbox, AForbiddenCallIsTheEndOfTheServer) {
    for (Call const &call : kForbidden)
        EXPECT_EQ(InServer({}, [&] { return call.make() < 0 ? 1 : 0; }), -SIGSYS) << call.name;
}

TEST_F(Sandbox, TheServerReadsBelowItsRootsOnly) {
    if (LandlockVersion() == 0)
        GTEST_SKIP() << "this kernel has no Landlock";
    Place const place, other;
    place.Write("file", "x");
    other.Write("file", "x");
    fs::create_directory(place / "sub");
    place.Write("sub/file", "x");
    fs::create_symlink(other / "file", place / "link");
    auto const opens = [&](std::string const &path, uint64_t flags = O_RDONLY) {
        return InServer({place.Path(), place.Path() + "-none"}, [&] {
            open_how how{};
            how.flags = flags | O_CLOEXEC;
            return syscall(SYS_openat2, AT_FDCWD, path.c_str(), &how, sizeof how) >= 0 ? 0 : errno;
        });
    };
    EXPECT_EQ(opens(place / "file"), 0);
    EXPECT_EQ(opens(place / "sub/file"), 0);
    EXPECT_EQ(opens(place.Path(), O_PATH | O_DIRECTORY), 0);
    for (std::string const &path : {std::string(other / "file"), std::string(place / "link"),
                                    std::string(place / "../") + other.Path() + "/file", std::string("/etc/passwd"),
                                    std::string("/proc/self/mem"), other.Path(), std::string("/")})
        EXPECT_TRUE(opens(path) == EACCES || opens(path) == ENOENT) << path;
    EXPECT_EQ(opens(place / "file", O_RDWR), EACCES) << "not for writing";
    EXPECT_EQ(opens(place.Path(), O_RDONLY | O_DIRECTORY), EACCES) << "nor to list it";
}

} // namespace
} // namespace vserver
