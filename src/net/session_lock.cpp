#include "net/session_lock.h"

#include "net/library_pause.h"

#include <cerrno>
#include <ctime>

namespace {

constexpr long kSliceNanoseconds = 50'000'000;

void Wait(sem_t &lock) {
    while (sem_wait(&lock) != 0 && errno == EINTR) {
    }
}

/// Waits a moment only. True when the lock was taken.
bool WaitShortly(sem_t &lock) {
    timespec end{};
    clock_gettime(CLOCK_MONOTONIC, &end);
    end.tv_nsec += kSliceNanoseconds;
    if (end.tv_nsec >= 1'000'000'000) {
        end.tv_nsec -= 1'000'000'000;
        end.tv_sec++;
    }
    return sem_clockwait(&lock, CLOCK_MONOTONIC, &end) == 0;
}

/// The holder may be a check that needs the library for its next row: it has the library while this waits.
void WaitOutsideLibrary(sem_t &lock) {
    for (bool taken = false; !taken;) {
        LibraryPause const pause;
        taken = WaitShortly(lock);
    }
}

} // namespace

SessionLock::SessionLock(ServerAccount &account, Caller caller) : account_(&account) {
    if (caller == kWorker)
        Wait(account.sessionLock);
    else if (sem_trywait(&account.sessionLock) != 0)
        WaitOutsideLibrary(account.sessionLock);
}

SessionLock::SessionLock(ServerAccount &account, StopPredicate const &stopped) {
    while (!WaitShortly(account.sessionLock))
        if (stopped && stopped())
            return;
    account_ = AccountRef<ServerAccount>(&account);
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
