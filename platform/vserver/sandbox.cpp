#include "vserver/sandbox.h"

#include <csignal>
#include <linux/close_range.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace vserver {
namespace {

/// No program that it could start would gain rights, and a crash leaves no mail in a core file.
bool GiveUpRights() {
    rlimit const no_core{0, 0};
    return prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 && setrlimit(RLIMIT_CORE, &no_core) == 0;
}

} // namespace

bool EnterServerSandbox(std::vector<std::string> const &) {
    // Place for Landlock (reading below the roots) and seccomp (no sockets, no exec).
    return GiveUpRights();
}

bool EnterWorkerSandbox(int first, int last, pid_t parent) {
    auto const from = static_cast<unsigned>(first), to = static_cast<unsigned>(last);
    if (syscall(SYS_close_range, 0u, from - 1, 0u) != 0 || syscall(SYS_close_range, to + 1, ~0u, 0u) != 0)
        return false;
    if (prctl(PR_SET_PDEATHSIG, SIGKILL, 0, 0, 0) != 0 || getppid() != parent)
        return false;
    // Place for Landlock (nothing), seccomp (read, write, lseek, fstat, memory, exit) and limits on memory and time.
    return GiveUpRights();
}

} // namespace vserver
