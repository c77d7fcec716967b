#include "widgets/operation.h"

#include "base/thread.h"
#include "names/widgets.h"
#include "widgets/toolkit.h"

#include <algorithm>
#include <list>
#include <mutex>

namespace {

struct Running {
    OperationKind kind;
    Stop stop;
};

std::mutex mutex;
std::list<Running> &All() {
    static auto *const all = new std::list<Running>; // workers may still end while the program does
    return *all;
}

/// Stop is greyed when nothing runs.
void SetStopUsable(bool usable) {
    if (ABW_btnStop)
        PtSetResource(ABW_btnStop, Pt_ARG_FLAGS, usable ? Pt_FALSE : Pt_TRUE, Pt_GHOST);
}

/// Takes the operation off the list at the end of its work.
class Entry {
  public:
    explicit Entry(std::list<Running>::iterator place) : place_(place) {}
    ~Entry() {
        ToolkitGuard const guard;
        std::unique_lock lock(mutex);
        All().erase(place_);
        bool const last = All().empty();
        lock.unlock();
        if (last)
            SetStopUsable(false);
    }
    Entry(Entry const &) = delete;
    Entry &operator=(Entry const &) = delete;

  private:
    std::list<Running>::iterator place_;
};

} // namespace

bool StartOperation(OperationKind kind, std::function<void(Stop const &)> work) {
    if (kind != OperationKind::kOther)
        StopOperation(kind);
    Stop const stop;
    std::unique_lock lock(mutex);
    auto const place = All().insert(All().end(), {kind, stop});
    lock.unlock();
    auto const run = [place, stop, work = std::move(work)] {
        Entry const entry(place);
        work(stop);
    };
    bool const started = StartDetached(run);
    if (started)
        SetStopUsable(true);
    else
        Entry const failed(place);
    return started;
}

void StopOperation(OperationKind kind) {
    std::lock_guard const lock(mutex);
    for (Running const &running : All())
        if (running.kind == kind)
            running.stop.Set();
}

void StopOperations() {
    std::lock_guard const lock(mutex);
    for (Running const &running : All())
        running.stop.Set();
}

bool IsRunning(OperationKind kind) {
    std::lock_guard const lock(mutex);
    return std::any_of(All().begin(), All().end(),
                       [kind](Running const &running) { return running.kind == kind && !running.stop(); });
}

int RunningOperations() {
    std::lock_guard const lock(mutex);
    return static_cast<int>(All().size());
}
