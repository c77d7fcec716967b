#include "vserver/worker.h"

#include "sandbox/sandbox.h"
#include "vserver/files.h"

#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <linux/close_range.h>
#include <new>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

namespace vserver {
namespace {

static_assert(kMaxImagePixels * 4 <= sandbox::kLargestFile && kMaxCleanBytes <= sandbox::kLargestFile);

/// The child's life: arranges the three descriptors, shuts itself in, works.
[[noreturn]] void RunJob(Job job, int input, int output, int info, pid_t parent) {
    int const wanted[] = {input, output, info};
    int moved[3];
    bool good = true;
    for (int i = 0; i < 3; ++i)
        good = (moved[i] = fcntl(wanted[i], F_DUPFD_CLOEXEC, 10)) >= 0 && good;
    for (int i = 0; i < 3 && good; ++i)
        good = dup2(moved[i], kWorkerInput + i) >= 0;
    try {
        good = good && sandbox::EnterWorkerSandbox(kWorkerInput, kWorkerInfo, parent) && job();
    } catch (std::bad_alloc const &) {
        good = false; // what it reads wants more than a worker may have
    }
    _exit(good ? 0 : 1);
}

} // namespace

Worker::Worker(Job job, Fd const &input, uint32_t number)
    : output_(MakeMemory("output")), info_(MakeMemory("info")), number_(number),
      deadline_(std::chrono::steady_clock::now() + kWorkerTime) {
    if (!output_.Valid() || !info_.Valid())
        return;
    pid_t const parent = getpid();
    pid_t const child = fork();
    if (child == 0)
        RunJob(job, input.Get(), output_.Get(), info_.Get(), parent);
    if (child < 0)
        return;
    process_.Reset(static_cast<int>(syscall(SYS_pidfd_open, child, 0)));
    if (!process_.Valid()) {
        kill(child, SIGKILL);
        waitpid(child, nullptr, 0);
    }
}

Worker::~Worker() {
    std::string info;
    size_t size;
    Finish(0, info, size);
}

bool Worker::Finish(size_t limit, std::string &info, size_t &size) {
    if (!process_.Valid())
        return false;
    syscall(SYS_pidfd_send_signal, process_.Get(), SIGKILL, nullptr, 0); // no effect on one that has ended
    siginfo_t ended{};
    while (waitid(P_PIDFD, static_cast<id_t>(process_.Get()), &ended, WEXITED) < 0 && errno == EINTR)
        ;
    process_.Reset();
    if (ended.si_code != CLD_EXITED || ended.si_status != 0 || !Seal(output_.Get()))
        return false;
    struct stat status {};
    if (fstat(output_.Get(), &status) != 0 || !ReadFile(info_.Get(), limit, info))
        return false;
    size = static_cast<size_t>(status.st_size);
    return true;
}

} // namespace vserver
