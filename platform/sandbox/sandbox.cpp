#include "sandbox/sandbox.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <linux/close_range.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

#ifndef CORVANTA_NO_SANDBOX
#include "sandbox/filter.h"
#include "sandbox/landlock.h"
#endif

namespace sandbox {
namespace {

/// No program that it could start would gain rights, and a crash leaves no mail in a core file.
bool GiveUpRights() {
    rlimit const no_core{0, 0};
    return prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 && setrlimit(RLIMIT_CORE, &no_core) == 0;
}

#ifdef CORVANTA_NO_SANDBOX

Shut ShutServerIn(std::vector<std::string> const &) { return Shut::Fully; }
bool ShutWorkerIn() { return true; }

#else

/// No worker gets a filter when the kernel has refused the server's.
bool filters_work = true;

/// The workers' filter, made once, by the parent before it shuts itself in.
Filter const &FilterOfWorkers() {
    static Filter const filter = WorkerFilter();
    return filter;
}

struct Limit {
    __rlimit_resource resource;
    rlim_t most;
};

template <size_t N> bool SetLimits(Limit const (&limits)[N]) {
    for (Limit const &limit : limits) {
        rlimit now{};
        if (getrlimit(limit.resource, &now) != 0)
            return false;
        // One that is lower already stays.
        rlim_t const most = std::min(limit.most, now.rlim_max);
        rlimit const wanted{most, most};
        if (setrlimit(limit.resource, &wanted) != 0)
            return false;
    }
    return true;
}

Shut ShutServerIn(std::vector<std::string> const &roots) {
    FilterOfWorkers();
    if (!SetLimits({{RLIMIT_AS, kWorkerMemory},
                    {RLIMIT_FSIZE, kLargestFile},
                    {RLIMIT_NOFILE, kServerFiles},
                    {RLIMIT_CPU, kServerSeconds}}))
        return Shut::Failed;
    if (int const error = EnterLandlock(roots))
        fprintf(stderr, "%s: without Landlock (%s): only the server's own checks keep it to its directories\n",
                program_invocation_short_name, strerror(error));
    filters_work = EnterFilter(ServerFilter());
    return filters_work ? Shut::Fully : Shut::Partly;
}

bool ShutWorkerIn() {
    Filter const &filter = FilterOfWorkers();
    // No process may trace it, and it leaves no core file, wherever the system writes those.
    prctl(PR_SET_DUMPABLE, 0, 0, 0, 0);
    EnterLandlock({}); // a second barrier: the filter already allows no open
    if (!SetLimits({{RLIMIT_CPU, kWorkerSeconds}, {RLIMIT_NOFILE, 0}, {RLIMIT_NPROC, 0}}))
        return false;
    return !filters_work || EnterFilter(filter);
}

#endif

} // namespace

Shut EnterServerSandbox(std::vector<std::string> const &roots) {
    return GiveUpRights() ? ShutServerIn(roots) : Shut::Failed;
}

bool EnterWorkerSandbox(int first, int last, pid_t parent) {
    auto const from = static_cast<unsigned>(first), to = static_cast<unsigned>(last);
    if (syscall(SYS_close_range, 0u, from - 1, 0u) != 0 || syscall(SYS_close_range, to + 1, ~0u, 0u) != 0)
        return false;
    if (prctl(PR_SET_PDEATHSIG, SIGKILL, 0, 0, 0) != 0 || getppid() != parent)
        return false;
    return GiveUpRights() && ShutWorkerIn();
}

} // namespace sandbox
