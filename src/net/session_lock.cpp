#include "net/session_lock.h"

#include <cerrno>
#include <ctime>
#ifdef __SANITIZE_THREAD__
#include <sanitizer/tsan_interface.h>
#endif

namespace {

constexpr long kSliceNanoseconds = 50'000'000;

/// Waits a moment only. True when the lock was taken.
bool WaitShortly(sem_t &lock) {
    timespec end{};
    clock_gettime(CLOCK_MONOTONIC, &end);
    end.tv_nsec += kSliceNanoseconds;
    if (end.tv_nsec >= 1'000'000'000) {
        end.tv_nsec -= 1'000'000'000;
        end.tv_sec++;
    }
    bool const taken = sem_clockwait(&lock, CLOCK_MONOTONIC, &end) == 0;
#ifdef __SANITIZE_THREAD__
    if (taken) // g++ 12's thread sanitizer knows the other calls of a semaphore and not this one
        __tsan_acquire(&lock);
#endif
    return taken;
}

} // namespace

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
