#pragma once
// The main loop: one application object whose every delivery runs under the library lock.

#include "core/display.h"

#include <QApplication>
#include <QBasicTimer>
#include <QElapsedTimer>

#include <atomic>
#include <functional>
#include <memory>
#include <vector>

/// Takes the lock at the outermost delivery of an event to the GUI thread, brings the views up to date, delivers and
/// lets the lock go. Deliveries inside a held one, or inside a paint for a worker's flush, go straight through;
/// those of a nested loop are outermost again. A loop of Qt's own (a question of the file dialog, a drag) begins
/// with the lock held: it is let go while that loop waits, and held again when it ends.
class Application : public QApplication {
  public:
    Application(int &argc, char **argv);

    bool notify(QObject *receiver, QEvent *event) override;

    /// Makes the GUI thread sync: for itself and for a flush at once, for what workers change once a frame. Any
    /// thread, cheap when called often.
    void Wake();
    /// Runs `work` on the GUI thread as an event of its own. Any thread.
    void Post(std::function<void()> work);
    /// Posts `work` once a window has been painted, or when none is for long. GUI thread.
    void PostPainted(std::function<void()> work);
    /// Deliveries on the GUI thread's stack.
    int depth() const { return depth_; }

  private:
    bool DeliverOutermost(QObject *receiver, QEvent *event);
    bool Deliver(QObject *receiver, QEvent *event);
    void AboutToWait();
    bool Paced();
    void SyncDone(QEvent::Type asked);
    void Painted();

    QObject waker_;
    std::atomic<bool> woken_ = false;
    std::atomic<bool> soon_ = false; ///< a worker's changes wait for the next frame
    QElapsedTimer since_frame_;
    qint64 frame_cost_ = 0; ///< nanoseconds that the last frame took, its painting with it
    QBasicTimer pace_;
    bool painted_ = false; ///< some window, once
    std::vector<std::function<void()>> after_paint_;
    int depth_ = 0;
    int loop_level_ = 0; ///< loops that ran when the delivery under way began
    bool lent_ = false;  ///< a loop of Qt's own waits: its caller holds the lock again when it ends
};

/// The application object, null before PtInit.
Application *TheApplication();

/// Brings every marked widget's view up to date.
void SyncViews();
/// Deletes the views of destroyed widgets. Only where no event of theirs can be under way.
void BuryViews();
/// True while a window is left.
bool WindowsLeft();
