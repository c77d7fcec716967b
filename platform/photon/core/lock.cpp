// The library lock: a queue of waiters under one small mutex.
//
// A thread that leaves wakes the first waiter but does not hand the lock over, so that a worker that enters and
// leaves for every row does not switch threads each time. Once the first waiter has been passed over for a
// millisecond, newcomers queue after it.

#include "core/lock.h"

#include "core/display.h"
#include "core/state.h"

#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <mutex>

namespace {

using Clock = std::chrono::steady_clock;
constexpr auto kPatience = std::chrono::milliseconds(1);
/// A main thread that has not started to paint after this long is busy elsewhere; the paint then comes later.
constexpr auto kFlushPatience = std::chrono::seconds(2);

using Thread = void const *; ///< null: none

struct Waiter {
    std::condition_variable wake;
    Thread const thread;
    Clock::time_point const since = Clock::now();
    Waiter *next = nullptr;

    explicit Waiter(Thread self) : thread(self) {}
};

struct FlushRequest {
    std::condition_variable done;
    enum { Waiting, Painting, Painted } state = Waiting;
};

// Constant-initialised and trivially destroyed: workers may still run while the process exits.
constinit std::mutex mutex;
constinit Thread owner = nullptr;
constinit Thread gui_thread = nullptr;    // set once by PtLockInit
constinit Waiter *first_waiter = nullptr; // in the order of arrival
constinit Waiter *gui_waiter = nullptr;   // the GUI thread, when it is among them
constinit FlushRequest *flush_request = nullptr;
constinit bool gui_away = false; // the GUI thread called PtLeave in the middle of a callback
constinit thread_local bool serving = false;

using Guard = std::unique_lock<std::mutex>;

Thread Self() {
    static constinit thread_local char token = 0;
    return &token;
}

void Release() {
    owner = nullptr;
    if (first_waiter)
        first_waiter->wake.notify_one();
}

/// A worker that ends, or is cancelled, while it holds the lock lets it go. Not the GUI thread: its end is the
/// program's, and no thread may touch widgets from there on.
struct LeaveAtThreadEnd {
    bool armed = false;
    ~LeaveAtThreadEnd() {
        Guard const guard(mutex);
        if (armed && owner == Self() && Self() != gui_thread)
            Release();
    }
};
thread_local LeaveAtThreadEnd leave_at_thread_end;

/// Stands in the queue of waiters as long as it lives.
class InQueue {
  public:
    explicit InQueue(Waiter &waiter) : waiter_(waiter) {
        Waiter **end = &first_waiter;
        while (*end)
            end = &(*end)->next;
        *end = &waiter_;
        if (waiter_.thread == gui_thread)
            gui_waiter = &waiter_;
    }
    ~InQueue() {
        for (Waiter **link = &first_waiter; *link; link = &(*link)->next)
            if (*link == &waiter_) {
                *link = waiter_.next;
                break;
            }
        if (gui_waiter == &waiter_)
            gui_waiter = nullptr;
    }
    InQueue(InQueue const &) = delete;
    InQueue &operator=(InQueue const &) = delete;

  private:
    Waiter &waiter_;
};

bool FlushWaits() { return flush_request && flush_request->state == FlushRequest::Waiting; }

/// Paints for the worker that waits in PtFlush. The worker keeps the lock and stands still until then.
void ServeFlush(Guard &guard) {
    FlushRequest *request = flush_request;
    request->state = FlushRequest::Painting;
    serving = true;
    guard.unlock();
    if (PtDisplay *display = PtTheDisplay())
        display->Paint();
    guard.lock();
    serving = false;
    request->state = FlushRequest::Painted;
    flush_request = nullptr;
    request->done.notify_one();
}

/// Whether a thread that does not stand in the queue may take the lock.
bool MayTakeAtOnce() { return !owner && (!first_waiter || Clock::now() - first_waiter->since < kPatience); }

void Acquire(Guard &guard) {
    PtCancelOff const cancel_off;
    Thread const self = Self();
    bool const gui = self == gui_thread;
    if (gui)
        gui_away = false;
    else
        leave_at_thread_end.armed = true;
    while (gui && FlushWaits())
        ServeFlush(guard);
    if (MayTakeAtOnce()) {
        owner = self;
        return;
    }
    Waiter waiter(self);
    InQueue const in_queue(waiter);
    while (owner != self) {
        if (gui && FlushWaits())
            ServeFlush(guard);
        else if (!owner && first_waiter == &waiter)
            owner = self;
        else
            waiter.wake.wait(guard);
    }
}

} // namespace

void PtLockInit() {
    Guard guard(mutex);
    gui_thread = Self();
    if (owner != gui_thread)
        Acquire(guard);
}

void PtLockAcquireGui() {
    Guard guard(mutex);
    if (owner != Self())
        Acquire(guard);
}

void PtLockReleaseGui() {
    Guard const guard(mutex);
    gui_away = false;
    if (owner == Self())
        Release();
}

bool PtOnGuiThread() {
    Guard const guard(mutex);
    return gui_thread == Self();
}

bool PtLockHeld() {
    Guard const guard(mutex);
    return owner == Self();
}

bool PtServingFlush() { return serving; }

PtLockPause::PtLockPause() {
    Guard const guard(mutex);
    held_ = owner == Self();
    if (held_)
        Release();
}

PtLockPause::~PtLockPause() {
    if (!held_)
        return;
    Guard guard(mutex);
    if (owner != Self())
        Acquire(guard);
}

int PtEnter(int flags) {
    if (flags < 0)
        return -EINVAL;
    Guard guard(mutex);
    if (owner == Self() || serving)
        return -EDEADLK;
    Acquire(guard);
    return 0;
}

int PtLeave(int flags) {
    if (flags < 0)
        return -EINVAL;
    Guard const guard(mutex);
    if (owner != Self())
        return -EPERM;
    gui_away = gui_away || Self() == gui_thread;
    Release();
    return 0;
}

namespace {

/// Leaves a request with the GUI thread and waits until it has painted.
void FlushFromWorker(PtDisplay &display) {
    PtCancelOff const cancel_off;
    Guard guard(mutex);
    if (gui_away || !gui_thread)
        return;
    FlushRequest request;
    flush_request = &request;
    if (gui_waiter) {
        gui_waiter->wake.notify_one();
    } else {
        guard.unlock();
        display.Wake();
        guard.lock();
    }
    if (!request.done.wait_for(guard, kFlushPatience, [&] { return request.state != FlushRequest::Waiting; })) {
        flush_request = nullptr;
        return;
    }
    request.done.wait(guard, [&] { return request.state == FlushRequest::Painted; });
}

} // namespace

int PtFlush(void) {
    if (serving)
        return 0;
    if (!PtLockHeld())
        return -EPERM;
    PtDisplay *const display = PtTheDisplay();
    if (!display)
        return 0;
    PtCore().flushing = true;
    if (PtOnGuiThread())
        display->Paint();
    else
        FlushFromWorker(*display);
    PtCore().flushing = false;
    return 0;
}
