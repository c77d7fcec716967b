#include "net/session_lock.h"

#include "Pt.h"

#include <cerrno>
#include <ctime>

namespace {

constexpr long kRepaintNanoseconds = 50'000'000;

void Wait(sem_t &lock) {
    while (sem_wait(&lock) != 0 && errno == EINTR) {
    }
}

/// Waits a moment only. True when the lock was taken.
bool WaitShortly(sem_t &lock) {
    timespec end{};
    clock_gettime(CLOCK_REALTIME, &end);
    end.tv_nsec += kRepaintNanoseconds;
    if (end.tv_nsec >= 1'000'000'000) {
        end.tv_nsec -= 1'000'000'000;
        end.tv_sec++;
    }
    return sem_timedwait(&lock, &end) == 0;
}

/// The holder may be a check that needs the library for its next row: let it have the library while this waits, and
/// paint now and then what it changed.
void WaitOutsideLibrary(sem_t &lock) {
    for (bool taken = false; !taken;) {
        bool const left = PtLeave(0) >= 0;
        taken = WaitShortly(lock);
        if (left)
            PtEnter(0);
        if (left && !taken)
            PtFlush();
    }
}

} // namespace

SessionLock::SessionLock(ServerAccount &account, Caller caller) : account_(&account) {
    if (caller == kWorker)
        Wait(account.sessionLock);
    else if (sem_trywait(&account.sessionLock) != 0)
        WaitOutsideLibrary(account.sessionLock);
}

SessionLock::SessionLock(ServerAccount &account, IfFree) {
    if (sem_trywait(&account.sessionLock) == 0)
        account_ = AccountRef<ServerAccount>(&account);
}

void SessionLock::Unlock() {
    if (!account_)
        return;
    sem_post(&account_->sessionLock);
    account_ = AccountRef<ServerAccount>();
}
