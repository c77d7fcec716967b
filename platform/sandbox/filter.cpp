#include "sandbox/filter.h"

#include "system/memory_file.h"

#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <linux/seccomp.h>
#include <memory>
#include <sched.h>
#include <seccomp.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace sandbox {
namespace {

/// What both need. Memory, locks, time and, from Qt 6.8 on, the number of processors are what the C
/// library and Qt ask for by themselves.
constexpr int kCommonCalls[] = {
    SCMP_SYS(read),         SCMP_SYS(pread64),
    SCMP_SYS(write),        SCMP_SYS(writev),
    SCMP_SYS(lseek),        SCMP_SYS(brk),
    SCMP_SYS(munmap),       SCMP_SYS(mremap),
    SCMP_SYS(madvise),      SCMP_SYS(futex),
    SCMP_SYS(getrandom),    SCMP_SYS(clock_gettime),
    SCMP_SYS(gettimeofday), SCMP_SYS(getpid),
    SCMP_SYS(gettid),       SCMP_SYS(rt_sigprocmask),
    SCMP_SYS(rt_sigreturn), SCMP_SYS(restart_syscall),
    SCMP_SYS(sched_yield),  SCMP_SYS(exit),
    SCMP_SYS(exit_group),   SCMP_SYS(sched_getaffinity),
};

/// What the server needs beside them; dup2 and poll do not exist on newer architectures and are left out there.
constexpr int kServerCalls[] = {
    SCMP_SYS(recvmsg),
    SCMP_SYS(sendmsg),
    SCMP_SYS(poll),
    SCMP_SYS(ppoll),
    SCMP_SYS(openat2),
    SCMP_SYS(fstat),
    SCMP_SYS(newfstatat),
    SCMP_SYS(close),
    SCMP_SYS(close_range),
    SCMP_SYS(dup2),
    SCMP_SYS(dup3),
    SCMP_SYS(memfd_create),
    SCMP_SYS(set_robust_list),
    SCMP_SYS(getppid),
    SCMP_SYS(pidfd_open),
    SCMP_SYS(waitid),
    SCMP_SYS(wait4),
    SCMP_SYS(rt_sigaction),
    SCMP_SYS(landlock_create_ruleset),
    SCMP_SYS(landlock_restrict_self),
};

/// A list in the making.
class List {
  public:
    List() {
        // The whole process goes, not only its thread; kernels before 4.14 know the thread only.
        for (uint32_t const death : {SCMP_ACT_KILL_PROCESS, SCMP_ACT_KILL_THREAD}) {
            context_.reset(seccomp_init(death));
            if (context_) {
                good_ = seccomp_attr_set(context_.get(), SCMP_FLTATR_ACT_BADARCH, death) == 0;
                break;
            }
        }
        for (int const call : kCommonCalls)
            Allow(call);
        // Memory never becomes code.
        for (int const call : {SCMP_SYS(mmap), SCMP_SYS(mprotect)})
            Allow(call, SCMP_A2(SCMP_CMP_MASKED_EQ, PROT_EXEC, 0));
    }

    template <class... Conditions> void Allow(int call, Conditions... conditions) {
        good_ = good_ &&
                seccomp_rule_add(context_.get(), SCMP_ACT_ALLOW, call, sizeof...(conditions), conditions...) == 0;
    }

    /// The list as the kernel takes it.
    Filter Made() const {
        Fd const file = MakeMemory("filter");
        std::string bytes;
        constexpr size_t kMost = BPF_MAXINSNS * sizeof(sock_filter);
        if (!good_ || !file.Valid() || seccomp_export_bpf(context_.get(), file.Get()) != 0 ||
            !ReadFile(file.Get(), kMost, bytes))
            return {};
        auto const *const first = reinterpret_cast<sock_filter const *>(bytes.data());
        return {first, first + bytes.size() / sizeof(sock_filter)};
    }

  private:
    struct Release {
        void operator()(void *context) const { seccomp_release(context); }
    };
    std::unique_ptr<void, Release> context_;
    bool good_ = false;
};

} // namespace

Filter WorkerFilter() { return List().Made(); }

Filter ServerFilter() {
    List list;
    for (int const call : kServerCalls)
        list.Allow(call);
    for (int const command : {F_ADD_SEALS, F_GET_SEALS, F_DUPFD_CLOEXEC})
        list.Allow(SCMP_SYS(fcntl), SCMP_A1(SCMP_CMP_EQ, static_cast<scmp_datum_t>(command)));
    // A plain fork: no threads, no shared memory, no name spaces. clone3 hides its flags, so it stays forbidden.
    constexpr scmp_datum_t kOfAFork = CLONE_CHILD_SETTID | CLONE_CHILD_CLEARTID | CSIGNAL;
    list.Allow(SCMP_SYS(clone), SCMP_A0(SCMP_CMP_MASKED_EQ, ~kOfAFork, 0));
    // Workers are killed; no other signal is sent.
    for (int const call : {SCMP_SYS(kill), SCMP_SYS(pidfd_send_signal)})
        list.Allow(call, SCMP_A1(SCMP_CMP_EQ, SIGKILL));
    // What its workers shut themselves in with.
    for (int const option : {PR_SET_PDEATHSIG, PR_SET_NO_NEW_PRIVS, PR_SET_DUMPABLE})
        list.Allow(SCMP_SYS(prctl), SCMP_A0(SCMP_CMP_EQ, static_cast<scmp_datum_t>(option)));
    list.Allow(SCMP_SYS(prlimit64), SCMP_A0(SCMP_CMP_EQ, 0));
    list.Allow(SCMP_SYS(seccomp), SCMP_A0(SCMP_CMP_EQ, SECCOMP_SET_MODE_FILTER));
    return list.Made();
}

bool EnterFilter(Filter const &filter) {
    sock_fprog const program{static_cast<unsigned short>(filter.size()), const_cast<sock_filter *>(filter.data())};
    return !filter.empty() && syscall(SYS_seccomp, SECCOMP_SET_MODE_FILTER, 0, &program) == 0;
}

} // namespace sandbox
