// The main loop: timers, painting, the end.

#include "photon/fixture.h"

#include <QElapsedTimer>
#include <QLabel>
#include <QPushButton>

#include <thread>

namespace {

class Loop : public WindowTest {
  protected:
    std::vector<Told> told_;
};

struct Step {
    PtWidget_t *timer;
    int expiries = 0;
    std::function<void(Step &)> act;
};

int Expire(PtWidget_t *, void *data, PtCallbackInfo_t *) {
    auto *step = static_cast<Step *>(data);
    step->expiries++;
    if (step->act)
        step->act(*step);
    return Pt_CONTINUE;
}

TEST_F(Loop, TimersStartRepeatAndStop) {
    PtAddCallback(W("timerOne"), Pt_CB_TIMER_ACTIVATE, Note, &told_);
    ProcessEventsFor(60);
    EXPECT_TRUE(told_.empty()); // initial 0: not running
    PtSetResource(W("timerOne"), Pt_ARG_TIMER_INITIAL, 5, 0);
    ASSERT_TRUE(ProcessEventsUntil([&] { return told_.size() >= 3; }));
    EXPECT_EQ(told_[0].subtype, static_cast<unsigned long>(Pt_TIMER_INITIAL_SUBTYPE));
    EXPECT_EQ(told_[1].subtype, static_cast<unsigned long>(Pt_TIMER_REPEAT_SUBTYPE));
    PtSetResource(W("timerOne"), Pt_ARG_TIMER_INITIAL, 0, 0);
    told_.clear();
    ProcessEventsFor(80);
    EXPECT_TRUE(told_.empty());
    PtSetResource(W("timerOne"), Pt_ARG_TIMER_REPEAT, 0, 0);
    PtSetResource(W("timerOne"), Pt_ARG_TIMER_INITIAL, 5, 0); // the same value as before starts it again
    EXPECT_TRUE(ProcessEventsUntil([&] { return !told_.empty(); }));
    ProcessEventsFor(60);
    EXPECT_EQ(told_.size(), 1u);
}

TEST_F(Loop, TimersInTheirOwnCallback) {
    Step step{W("timerOne"), 0, nullptr};
    PtAddCallback(step.timer, Pt_CB_TIMER_ACTIVATE, Expire, &step);
    // The repeat taken away and put back leaves it running.
    step.act = [](Step &s) {
        PtSetResource(s.timer, Pt_ARG_TIMER_REPEAT, 0, 0);
        PtSetResource(s.timer, Pt_ARG_TIMER_REPEAT, 10, 0);
    };
    PtSetResource(step.timer, Pt_ARG_TIMER_INITIAL, 5, 0);
    EXPECT_TRUE(ProcessEventsUntil([&] { return step.expiries >= 3; }));
    // Stopped inside: stays stopped.
    step.act = [](Step &s) { PtSetResource(s.timer, Pt_ARG_TIMER_INITIAL, 0, 0); };
    int const before = step.expiries;
    EXPECT_TRUE(ProcessEventsUntil([&] { return step.expiries > before; }));
    ProcessEventsFor(60);
    EXPECT_EQ(step.expiries, before + 1);
    // A long callback does not pile expiries up.
    step.act = [](Step &) { std::this_thread::sleep_for(std::chrono::milliseconds(100)); };
    step.expiries = 0;
    PtSetResource(step.timer, Pt_ARG_TIMER_INITIAL, 1, 0);
    EXPECT_TRUE(ProcessEventsUntil([&] { return step.expiries == 1; }));
    step.act = nullptr;
    ProcessEventsFor(25);
    EXPECT_LE(step.expiries, 4);
    // Unrealized: disarmed.
    PtUnrealizeWidget(window_);
    Sync();
    step.expiries = 0;
    ProcessEventsFor(60);
    EXPECT_EQ(step.expiries, 0);
}

/// Counts paints of a widget.
class Paints : public QObject {
  public:
    explicit Paints(QWidget *widget) { widget->installEventFilter(this); }
    std::atomic<int> count = 0;

  protected:
    bool eventFilter(QObject *, QEvent *event) override {
        count += event->type() == QEvent::Paint;
        return false;
    }
};

TEST_F(Loop, FlushPaintsAtOnceAndReadsNoInput) {
    Paints paints(N<QLabel>("lblOne"));
    PtAddCallback(W("btnOne"), Pt_CB_ACTIVATE, Note, &told_);
    QMetaObject::invokeMethod(N<QPushButton>("btnOne"), "click", Qt::QueuedConnection);
    SetText(W("lblOne"), "flushed");
    PtFlush();
    EXPECT_GE(paints.count, 1);
    EXPECT_TRUE(told_.empty());
    ProcessEventsFor(10);
    EXPECT_EQ(told_.size(), 1u);
}

// For each of them alone, the window would be painted a thousand times.
TEST_F(Loop, SmallChangesOfAWorkerShareAPaint) {
    Paints paints(N<QLabel>("lblOne"));
    QElapsedTimer clock;
    clock.start();
    std::atomic<bool> over = false;
    std::thread worker([&] {
        for (int i = 0; i < 1000; i++) {
            PtEnter(0);
            SetText(W("lblOne"), std::to_string(i));
            PtLeave(0);
            std::this_thread::sleep_for(std::chrono::microseconds(100));
        }
        over = true;
    });
    PtLockPause const pause;
    while (!over)
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 5);
    worker.join();
    EXPECT_GE(paints.count, 2);
    EXPECT_LE(paints.count, clock.elapsed() / 40 + 10) << "of 1000 changes; a frame is 40 ms";
    EXPECT_TRUE(QTest::qWaitFor([&] { return N<QLabel>("lblOne")->text() == QLatin1String("999"); }));
}

int CloseSoon(PtWidget_t *widget, void *, PtCallbackInfo_t *) { return PtDestroyWidget(ApGetInstance(widget)); }

TEST_F(Loop, TheMainLoopEndsWithTheLastWindow) {
    std::atomic<bool> stop = false;
    std::thread worker([&] { // keeps running beyond the end
        while (!stop) {
            PtEnter(0);
            PtFlush();
            PtLeave(0);
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
    });
    PtAddCallback(W("timerOne"), Pt_CB_TIMER_ACTIVATE, CloseSoon, nullptr);
    PtSetResource(W("timerOne"), Pt_ARG_TIMER_INITIAL, 20, 0);
    PtMainLoop();
    EXPECT_TRUE(PtLockHeld());
    EXPECT_TRUE(PtTopLevels().empty());
    stop = true;
    ProcessEventsFor(20);
    worker.join();
    PtMainLoop(); // without a window there is nothing to wait for
}

} // namespace
