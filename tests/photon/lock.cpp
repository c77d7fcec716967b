// The library lock, flushes and holds, under several threads.

#include "photon/fixture.h"

#include <QLabel>
#include <QPushButton>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <pthread.h>
#include <thread>

using namespace std::chrono_literals;

namespace {

class Lock : public WindowTest {
  protected:
    void SetUp() override {
        WindowTest::SetUp();
        label_ = W("lblOne");
    }
    /// What is on the screen: what the last sync put there.
    std::string Shown() { return N<QLabel>("lblOne")->text().toStdString(); }

    PtWidget_t *label_ = nullptr;
};

/// Whether another thread gets the lock. When it is never freed, this does not return and the test times out.
bool CanEnterElsewhere() {
    bool entered = false;
    std::thread([&] {
        entered = PtEnter(0) == 0;
        PtLeave(0);
    }).join();
    return entered;
}

/// Leaves the library in the middle of a callback, now and then.
struct Leaver {
    int calls = 0;
    bool away = false;
};
int GoAway(PtWidget_t *, void *data, PtCallbackInfo_t *) {
    auto *leaver = static_cast<Leaver *>(data);
    if (++leaver->calls % 2 == 0) {
        leaver->away = true;
        PtLeave(0);
        std::this_thread::sleep_for(2ms);
        PtEnter(0);
        leaver->away = false;
    }
    return Pt_CONTINUE;
}

TEST_F(Lock, TellsItsOwnerFromOthers) {
    EXPECT_EQ(PtEnter(0), -EDEADLK);       // the main thread holds it from PtInit on
    EXPECT_EQ(PtLeave(-EDEADLK), -EINVAL); // the answer of a PtEnter that failed changes nothing
    EXPECT_TRUE(PtLockHeld());
    EXPECT_EQ(PtLeave(0), 0);
    EXPECT_EQ(PtLeave(0), -EPERM);
    EXPECT_EQ(PtEnter(-1), -EINVAL);
    EXPECT_FALSE(PtLockHeld());
    std::thread([] {
        EXPECT_EQ(PtEnter(0), 0);
        EXPECT_EQ(PtEnter(0), -EDEADLK);
        EXPECT_EQ(PtLeave(0), 0);
        EXPECT_EQ(PtFlush(), -EPERM);
    }).join();
    EXPECT_EQ(PtEnter(0), 0);
    std::thread([] { EXPECT_EQ(PtLeave(0), -EPERM); }).join(); // another thread's lock
    EXPECT_TRUE(PtLockHeld());
}

// Workers flush while the GUI thread waits for events or for the lock, while it is in callbacks, and while a callback
// has left the library.
TEST_F(Lock, LetsOneThreadInAtATimeAndFlushes) {
    constexpr int kWorkers = 4, kRounds = 2000;
    long counter = 0, flushed = 0, painted = 0; // plain variables: only the lock keeps them right
    Leaver leaver;
    PtAddCallback(W("timerOne"), Pt_CB_TIMER_ACTIVATE, GoAway, &leaver);
    PtSetResource(W("timerOne"), Pt_ARG_TIMER_REPEAT, 1, 0);
    PtSetResource(W("timerOne"), Pt_ARG_TIMER_INITIAL, 1, 0);
    std::atomic<int> running = kWorkers;
    std::vector<std::thread> workers;
    for (int i = 0; i < kWorkers; i++)
        workers.emplace_back([&] {
            for (int round = 0; round < kRounds; round++) {
                PtEnter(0);
                SetText(label_, std::to_string(++counter));
                if (round % 16 == 0) {
                    bool const away = leaver.away;
                    PtFlush();
                    EXPECT_TRUE(PtLockHeld());
                    flushed += !away;
                    painted += !away && Shown() == std::to_string(counter);
                }
                PtLeave(0);
            }
            running--;
        });
    EXPECT_TRUE(ProcessEventsUntil([&] { return running == 0; }, 60'000));
    for (std::thread &worker : workers)
        worker.join();
    EXPECT_EQ(counter, kWorkers * kRounds);
    EXPECT_GE(painted, flushed * 9 / 10) << "a main thread that does not start within 2 s paints later";
    EXPECT_TRUE(ProcessEventsUntil([&] { return Shown() == std::to_string(counter); }));
}

TEST_F(Lock, FlushDoesNotWaitForAMainThreadThatIsAway) {
    std::string const before = Shown();
    PtLeave(0); // as a callback does before it works for long
    auto const start = std::chrono::steady_clock::now();
    std::thread([&] {
        PtEnter(0);
        SetText(label_, "not yet");
        PtFlush();
        PtLeave(0);
    }).join();
    EXPECT_LT(std::chrono::steady_clock::now() - start, 1900ms);
    EXPECT_EQ(Shown(), before);
    PtEnter(0);
    PtFlush();
    EXPECT_EQ(Shown(), "not yet");
}

// Who has waited for more than a millisecond comes before a thread that leaves and enters again at once.
TEST_F(Lock, NobodyStarves) {
    constexpr int kTries = 20;
    int waiter_first = 0;
    PtLockPause const pause;
    for (int i = 0; i < kTries; i++) {
        std::atomic<bool> held = false, waits = false;
        bool served = false;
        std::thread greedy([&] {
            PtEnter(0);
            held = true;
            while (!waits)
                std::this_thread::yield();
            std::this_thread::sleep_for(20ms);
            PtLeave(0);
            PtEnter(0);
            waiter_first += served;
            PtLeave(0);
        });
        while (!held)
            std::this_thread::yield();
        waits = true;
        PtEnter(0);
        served = true;
        PtLeave(0);
        greedy.join();
    }
    EXPECT_GE(waiter_first, kTries / 2) << "a loaded machine may keep a waiter from the queue now and then";
}

TEST_F(Lock, IsFreeAgainAfterAWorkerThatNeverLeft) {
    PtLockPause const pause;
    std::thread([] { PtEnter(0); }).join();
    EXPECT_TRUE(CanEnterElsewhere());

    pthread_t cancelled{};
    std::atomic<bool> entered = false;
    auto const body = [](void *flag) -> void * {
        PtEnter(0);
        *static_cast<std::atomic<bool> *>(flag) = true;
        for (;;)
            ::pause(); // a cancellation point
    };
    ASSERT_EQ(pthread_create(&cancelled, nullptr, body, &entered), 0);
    while (!entered)
        std::this_thread::yield();
    pthread_cancel(cancelled);
    pthread_join(cancelled, nullptr);
    EXPECT_TRUE(CanEnterElsewhere());
}

TEST_F(Lock, WorkersCreateAndOrderActions) {
    std::vector<Told> expired;
    PtAddCallback(W("timerOne"), Pt_CB_TIMER_ACTIVATE, Note, &expired);
    PtWidget_t *made = nullptr;
    std::atomic<bool> done = false;
    std::thread worker([&] {
        PtEnter(0);
        PtSetResource(W("timerOne"), Pt_ARG_TIMER_INITIAL, 1, 0); // only the main thread acts
        made = PtCreateWidget(PtButton, W("paneOne"), 0, nullptr);
        SetText(made, "new");
        EXPECT_FALSE(made->view);
        PtFlush();
        EXPECT_TRUE(made->view);
        PtLeave(0);
        done = true;
    });
    EXPECT_TRUE(ProcessEventsUntil([&] { return done && !expired.empty(); }));
    worker.join();
    EXPECT_EQ(Native<QPushButton>(made)->text(), QStringLiteral("new"));
}

int DestroyAndAsk(PtWidget_t *widget, void *window, PtCallbackInfo_t *) {
    PtDestroyWidget(static_cast<PtWidget_t *>(window));
    {
        PtLockPause const pause; // a question to the user: the main loop turns meanwhile and frees what it can
        std::this_thread::sleep_for(60ms);
    }
    EXPECT_EQ(TextOf(widget), "still here");
    return Pt_CONTINUE;
}

TEST_F(Lock, AWorkerDestroysAWindow) {
    PtWidget_t *button = W("btnOne");
    QPointer<QWidget> const native(Native<QWidget>(window_));
    SetText(button, "still here");
    PtAddCallback(button, Pt_CB_ACTIVATE, DestroyAndAsk, window_);
    std::atomic<bool> done = false;
    std::thread worker([&] {
        PtEnter(0);
        PtInvokeCallbacks(*button, Pt_CB_ACTIVATE, 0, nullptr, nullptr);
        PtLeave(0);
        done = true;
    });
    EXPECT_TRUE(ProcessEventsUntil([&] { return done && native.isNull(); }));
    worker.join();
}

} // namespace
