#pragma once
// Holding an account's sessionLock. It is never waited for with the library lock held: a check on a worker holds the
// one and asks for the other with every row it adds.

#include "base/account.h"
#include "net/stream.h"

/// Holds sessionLock from construction to the end of its life (or to Unlock).
class SessionLock {
  public:
    /// Waits for it, on a worker without locks. Gives up within 0.1 s of `stopped` becoming true; Held() tells.
    explicit SessionLock(ServerAccount &account, StopPredicate const &stopped = {});
    ~SessionLock() { Unlock(); }
    SessionLock(SessionLock const &) = delete;
    SessionLock &operator=(SessionLock const &) = delete;
    void Unlock();

    /// Takes the lock only when it is free. The result's Held() tells.
    static SessionLock Try(ServerAccount &account) { return SessionLock(account, IfFree()); }
    bool Held() const { return static_cast<bool>(account_); }

  private:
    struct IfFree {};
    SessionLock(ServerAccount &account, IfFree);
    AccountRef<ServerAccount> account_;
};
