// The library lock and flushing, under several threads. Built with ThreadSanitizer as well.

#include "photon/fake_display.h"

#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <pthread.h>
#include <thread>

using namespace std::chrono_literals;

namespace {

class Lock : public CoreTest {
  protected:
    /// Runs `work` on a thread while the main loop turns; joins it.
    template <class Work> void WithLoop(Work work) {
        bool done = false;
        std::thread thread([&] {
            work();
            Fake().Post([&] { done = true; });
        });
        Fake().RunUntil([&] { return done; });
        thread.join();
    }

    PtWidget_t *const label_ = PtCreateWidget(PtLabel, Pt_NO_PARENT, 0, nullptr);
};

void SetText(PtWidget_t *label, std::string const &text) {
    PtSetResource(label, Pt_ARG_TEXT_STRING, text.c_str(), 0);
}

/// Whether another thread gets the lock. When it is never freed, this does not return and the test times out.
bool CanEnterElsewhere() {
    std::atomic<bool> entered = false;
    std::thread thread([&] {
        if (PtEnter(0) == 0) {
            entered = true;
            PtLeave(0);
        }
    });
    thread.join();
    return entered;
}

} // namespace

TEST_F(Lock, TellsItsOwnerFromOthers) {
    EXPECT_EQ(PtEnter(0), -EDEADLK); // the main thread holds it from PtInit on
    EXPECT_TRUE(PtLockHeld());
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
    std::thread([] { EXPECT_EQ(PtLeave(0), -EPERM); }).join(); // somebody else's lock
    EXPECT_TRUE(PtLockHeld());
}

TEST_F(Lock, LetsOneThreadInAtATime) {
    long counter = 0; // a plain variable: only the lock keeps it right
    std::atomic<int> running = 4;
    std::vector<std::thread> workers;
    for (int i = 0; i < 4; i++)
        workers.emplace_back([&] {
            for (int round = 0; round < 2000; round++) {
                PtEnter(0);
                SetText(label_, std::to_string(++counter));
                if (round % 16 == 0) {
                    PtFlush();
                    EXPECT_EQ(ViewOf(label_).text, std::to_string(counter));
                }
                PtLeave(0);
            }
            Fake().Post([&] { running--; });
        });
    Fake().RunUntil([&] {
        counter++;
        return running == 0;
    });
    for (std::thread &worker : workers)
        worker.join();
    EXPECT_GE(counter, 8000);
}

TEST_F(Lock, MainThreadThatWaitsForTheLockPaints) {
    std::atomic<bool> entered = false;
    PtLeave(0);
    std::thread worker([&] {
        PtEnter(0);
        entered = true;
        std::this_thread::sleep_for(20ms); // the main thread waits in PtEnter by now
        SetText(label_, "while you wait");
        PtFlush();
        EXPECT_EQ(ViewOf(label_).text, "while you wait");
        PtLeave(0);
    });
    while (!entered)
        std::this_thread::yield();
    EXPECT_EQ(PtEnter(0), 0);
    worker.join();
}

TEST_F(Lock, FlushDoesNotWaitForAMainThreadThatIsAway) {
    PtLeave(0); // as a callback does before it works for long
    int const before = Fake().paints;
    auto const start = std::chrono::steady_clock::now();
    std::thread([&] {
        PtEnter(0);
        SetText(label_, "not yet");
        PtFlush();
        PtLeave(0);
    }).join();
    EXPECT_LT(std::chrono::steady_clock::now() - start, 1s);
    EXPECT_EQ(Fake().paints, before);
    PtEnter(0);
    PtFlush();
    EXPECT_EQ(ViewOf(label_).text, "not yet");
}

TEST_F(Lock, NobodyStarves) {
    std::atomic<bool> stop = false;
    std::atomic<long> greedy_rounds = 0;
    std::thread greedy([&] {
        while (!stop) {
            PtEnter(0);
            greedy_rounds++;
            auto const until = std::chrono::steady_clock::now() + 200us;
            while (std::chrono::steady_clock::now() < until) {
            }
            PtLeave(0);
        }
    });
    auto longest = 0ns;
    WithLoop([&] {
        for (int i = 0; i < 50; i++) {
            auto const start = std::chrono::steady_clock::now();
            PtEnter(0);
            PtLeave(0);
            longest = std::max(longest, std::chrono::steady_clock::now() - start);
        }
    });
    stop = true;
    PtLeave(0);
    greedy.join();
    PtEnter(0);
    EXPECT_LT(longest, 2s);
    printf("longest wait beside a greedy worker: %.1f ms\n", static_cast<double>(longest.count()) / 1e6);
}

TEST_F(Lock, PauseLetsOthersInAndComesBack) {
    {
        PtLockPause const pause;
        EXPECT_TRUE(CanEnterElsewhere());
    }
    EXPECT_TRUE(PtLockHeld());
    WithLoop([&] {
        { PtLockPause const nothing_held; }
        EXPECT_FALSE(PtLockHeld());
        PtEnter(0);
        {
            PtLockPause const pause; // a modal call of a worker
            EXPECT_FALSE(PtLockHeld());
            EXPECT_TRUE(CanEnterElsewhere());
        }
        EXPECT_TRUE(PtLockHeld());
        PtLeave(0);
    });
}

TEST_F(Lock, IsFreeAgainAfterAWorkerThatNeverLeft) {
    PtLeave(0);
    std::thread([] { PtEnter(0); }).join();
    EXPECT_TRUE(CanEnterElsewhere());

    pthread_t cancelled{};
    std::atomic<bool> entered = false;
    auto const body = [](void *flag) -> void * {
        PtEnter(0);
        *static_cast<std::atomic<bool> *>(flag) = true;
        for (;;)
            pause(); // a cancellation point
    };
    ASSERT_EQ(pthread_create(&cancelled, nullptr, body, &entered), 0);
    while (!entered)
        std::this_thread::yield();
    pthread_cancel(cancelled);
    pthread_join(cancelled, nullptr);
    EXPECT_TRUE(CanEnterElsewhere());
    PtEnter(0);
}

TEST_F(Lock, HoldKeepsPaintingBackButNotAFlush) {
    PtFlush();
    EXPECT_EQ(PtHold(), 1);
    EXPECT_EQ(PtHold(), 2);
    SetText(label_, "held");
    Fake().Turn();
    EXPECT_EQ(ViewOf(label_).text, "");
    EXPECT_EQ(PtFlush(), 2);
    EXPECT_EQ(ViewOf(label_).text, "held");
    SetText(label_, "later");
    EXPECT_EQ(PtRelease(), 1);
    EXPECT_EQ(ViewOf(label_).text, "held");
    EXPECT_EQ(PtUpdate(), 0);
    EXPECT_EQ(ViewOf(label_).text, "later");
    EXPECT_EQ(PtRelease(), -1);
}

TEST_F(Lock, WorkersCreateDestroyAndOrderActions) {
    PtWidget_t *window = PtCreateWidget(PtWindow, Pt_NO_PARENT, 0, nullptr);
    PtWidget_t *timer = PtCreateWidget(PtTimer, window, 0, nullptr);
    WithLoop([&] {
        PtEnter(0);
        PtSetResource(timer, Pt_ARG_TIMER_INITIAL, 500, 0);
        EXPECT_TRUE(ViewOf(timer).acted.empty()); // only the main thread acts
        PtWidget_t *made = PtCreateWidget(PtButton, window, 0, nullptr);
        SetText(made, "new");
        EXPECT_EQ(made->view, nullptr);
        PtFlush();
        EXPECT_EQ(ViewOf(made).text, "new");
        ASSERT_EQ(ViewOf(timer).acted.size(), 1u);
        EXPECT_EQ(ViewOf(timer).acted[0].value, 500);
        PtDestroyWidget(made);
        EXPECT_TRUE(PtWidgetFlags(made) & Pt_DESTROYED); // its memory waits for the main loop
        PtLeave(0);
    });
    EXPECT_EQ(window->children.size(), 1u);
}

TEST_F(Lock, WidgetStaysWhileAWorkersCallbackRunsForIt) {
    PtWidget_t *button = PtCreateWidget(PtButton, Pt_NO_PARENT, 0, nullptr);
    SetText(button, "still here");
    auto const destroy_and_ask = [](PtWidget_t *widget, void *, PtCallbackInfo_t *) {
        PtDestroyWidget(widget);
        {
            PtLockPause const pause; // a question to the user: the main loop turns meanwhile and frees what it can
            std::this_thread::sleep_for(60ms);
        }
        EXPECT_EQ(PtValueOf(*widget, Pt_ARG_TEXT_STRING)->bytes, "still here");
        return int{Pt_CONTINUE};
    };
    PtAddCallback(button, Pt_CB_ACTIVATE, destroy_and_ask, nullptr);
    WithLoop([&] {
        PtEnter(0);
        PtInvokeCallbacks(*button, Pt_CB_ACTIVATE, 0, nullptr, nullptr);
        PtLeave(0);
    });
}
