#include "qt/views/views.h"

#include <QTimer>

#include <algorithm>
#include <climits>

namespace {

/// Armed again at each expiry, so that a busy thread does not pile up expiries and a new period holds at once.
class TimerView final : public View {
  public:
    TimerView(PtWidget &widget, QObject *native, bool owned) : View(widget, native, owned) {
        timer_.setSingleShot(true);
        timer_.setTimerType(Qt::PreciseTimer);
        connect(&timer_, &QTimer::timeout, this, &TimerView::Expired);
    }

    int Act(PtWidget &widget, PtAction const &action) override {
        if (action.resource != Pt_ARG_TIMER_INITIAL)
            return -1;
        arming_++;
        first_ = true;
        initial_ = action.value;
        if (widget.flags & Pt_REALIZED)
            Arm(initial_);
        return 0;
    }

    void Vanish() override { timer_.stop(); }

  protected:
    void ApplyFlags(PtWidget &) override {}
    void ApplyGeometry(PtWidget &) override {}

    void ApplyRealize(PtWidget &widget) override {
        bool const realized = widget.flags & Pt_REALIZED;
        if (!realized)
            timer_.stop();
        else if (!timer_.isActive() && !running_)
            Arm(initial_);
        first_ = true;
    }

  private:
    void Arm(long milliseconds) {
        if (milliseconds > 0)
            timer_.start(static_cast<int>(std::min(milliseconds, long{INT_MAX})));
        else
            timer_.stop();
    }

    void Expired() {
        // An expiry that was on its way when the timer was stopped or the widget went is none.
        if (!widget() || !(widget()->flags & Pt_REALIZED))
            return;
        int const arming = arming_;
        bool const outer = std::exchange(running_, true);
        unsigned long const subtype =
            std::exchange(first_, false) ? Pt_TIMER_INITIAL_SUBTYPE : Pt_TIMER_REPEAT_SUBTYPE;
        PtInvokeCallbacks(*widget(), Pt_CB_TIMER_ACTIVATE, subtype, nullptr, nullptr);
        running_ = outer;
        if (widget() && arming == arming_ && (widget()->flags & Pt_REALIZED))
            Arm(StoredNumber(*widget(), Pt_ARG_TIMER_REPEAT));
    }

    QTimer timer_;
    long initial_ = 0;
    int arming_ = 0;       ///< counts the starts and stops by the program
    bool first_ = true;    ///< the next expiry is the initial one
    bool running_ = false; ///< a callback is on the stack
};

} // namespace

std::unique_ptr<PtView> MakeTimerView(PtWidget &widget, QObject *native, bool owned) {
    return std::make_unique<TimerView>(widget, native, owned);
}
