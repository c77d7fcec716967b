// The main loop: timers and painting.

#include "photon/fixture.h"

#include <QLabel>
#include <QPushButton>

#include <thread>

namespace {

class Loop : public WindowTest {
  protected:
    std::vector<Told> told_;
};

struct Expiries {
    std::vector<unsigned long> subtypes;
    std::function<void()> act; ///< inside the callback
};

int Expire(PtWidget_t *, void *data, PtCallbackInfo_t *info) {
    auto *expiries = static_cast<Expiries *>(data);
    expiries->subtypes.push_back(info->reason_subtype);
    if (expiries->act)
        expiries->act();
    return Pt_CONTINUE;
}

TEST_F(Loop, Timers) {
    Expiries expiries;
    PtWidget_t *timer = W("timerOne");
    PtAddCallback(timer, Pt_CB_TIMER_ACTIVATE, Expire, &expiries);
    auto const set = [&](long resource, long value) { PtSetResource(timer, resource, value, 0); };
    auto const stays_at = [&](size_t expected) {
        ProcessEventsFor(60);
        EXPECT_EQ(expiries.subtypes.size(), expected);
    };
    auto const start = [&](size_t expected) {
        expiries.subtypes.clear();
        set(Pt_ARG_TIMER_INITIAL, 5);
        EXPECT_TRUE(ProcessEventsUntil([&] { return expiries.subtypes.size() >= expected; }));
    };
    stays_at(0); // initial 0: not running
    // The repeat taken away and put back inside the callback leaves it running.
    expiries.act = [&] {
        set(Pt_ARG_TIMER_REPEAT, 0);
        set(Pt_ARG_TIMER_REPEAT, 10);
    };
    start(3);
    EXPECT_EQ(expiries.subtypes[0], static_cast<unsigned long>(Pt_TIMER_INITIAL_SUBTYPE));
    EXPECT_EQ(expiries.subtypes[1], static_cast<unsigned long>(Pt_TIMER_REPEAT_SUBTYPE));
    expiries.act = [&] { set(Pt_ARG_TIMER_INITIAL, 0); }; // stopped inside: stays stopped
    start(1);
    stays_at(1);
    // A long callback does not pile expiries up.
    expiries.act = [&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
        expiries.act = nullptr;
    };
    start(1);
    ProcessEventsFor(25);
    EXPECT_LE(expiries.subtypes.size(), 4u);
    set(Pt_ARG_TIMER_REPEAT, 0);
    start(1); // set to the value that it has: starts again
    stays_at(1);
    set(Pt_ARG_TIMER_REPEAT, 10);
    start(1);
    PtUnrealizeWidget(window_); // disarmed
    Sync();
    expiries.subtypes.clear();
    stays_at(0);
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
    // A frame takes 40 ms; whatever else the window's style animates brings the text up to date, too.
    EXPECT_LE(paints.count, 500) << "of 1000 changes";
    EXPECT_TRUE(QTest::qWaitFor([&] { return N<QLabel>("lblOne")->text() == QLatin1String("999"); }));
}

} // namespace
