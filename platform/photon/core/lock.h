#pragma once
// The library lock, seen from the main loop.
//
// The GUI thread holds the lock while it delivers an event and lets go while it waits for the next. Workers hold it
// between PtEnter and PtLeave. A worker's PtFlush needs the GUI thread to paint while the worker keeps the lock:
// it leaves a request, and code on the GUI thread that waits for the lock serves such requests while it waits.

#include <pthread.h>

/// Names the calling thread as the GUI thread and takes the lock for it (PtInit).
void PtLockInit();

/// GUI thread: takes the lock, serving flush requests of its holder while it waits.
void PtLockAcquireGui();
/// GUI thread: lets the lock go before it waits for events.
void PtLockReleaseGui();

bool PtOnGuiThread();
/// True when the calling thread holds the lock.
bool PtLockHeld();
/// True while the GUI thread paints for a worker that keeps the lock: deliveries nested inside must not take it.
bool PtServingFlush();

/// Thread cancellation is off as long as it lives: other threads rely on what this one has on its stack.
class PtCancelOff {
  public:
    PtCancelOff() { pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &old_); }
    ~PtCancelOff() { pthread_setcancelstate(old_, nullptr); }
    PtCancelOff(PtCancelOff const &) = delete;
    PtCancelOff &operator=(PtCancelOff const &) = delete;

  private:
    int old_ = 0;
};

/// Lets the calling thread's lock go for the length of a modal wait and takes it back at the end of its life. Works
/// on the GUI thread (whose nested loop takes the lock for each delivery) and on workers.
class PtLockPause {
  public:
    PtLockPause();
    ~PtLockPause();
    PtLockPause(PtLockPause const &) = delete;
    PtLockPause &operator=(PtLockPause const &) = delete;

  private:
    bool held_;
};
