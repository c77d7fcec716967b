#pragma once
// What takes its time, on workers of their own: fetching a message, opening a group, a check. The Stop button ends
// all of it. Nothing that waits for a server runs on the main thread.

#include <atomic>
#include <functional>
#include <memory>

/// Tells whether an operation was stopped. Copies tell the same. Callable, so that it is a stream's stop predicate.
class Stop {
  public:
    bool operator()() const { return *flag_; }
    void Set() const { *flag_ = true; }

  private:
    std::shared_ptr<std::atomic<bool>> flag_ = std::make_shared<std::atomic<bool>>(false);
};

/// Operations of one kind replace each other: starting one stops the one before.
enum class OperationKind {
    kMessage, ///< what the message view shows
    kGroup,   ///< opening a group and downloading its headers
    kListing, ///< the group list of a news server
    kOther    ///< these do not replace each other: checks, deletions, copies
};

/// Runs `work` on a detached worker, without locks. The operation counts as running until `work` has returned.
/// Returns false when no thread could be had. Under the library lock.
bool StartOperation(OperationKind kind, std::function<void(Stop const &)> work);

/// Stops the operation of a kind, without starting another. Under the library lock.
void StopOperation(OperationKind kind);

/// btnStop: stops everything that runs. Under the library lock.
void StopOperations();

/// True while an operation of the kind runs that was not stopped. Any thread.
bool IsRunning(OperationKind kind);

/// How many run; Stop is greyed when none does. Any thread.
int RunningOperations();
