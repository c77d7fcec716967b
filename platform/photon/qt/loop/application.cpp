#include "qt/loop/application.h"

#include "core/lock.h"
#include "core/state.h"
#include "qt/loop/display.h"
#include "qt/loop/events.h"
#include "qt/loop/input.h"
#include "qt/views/style.h"

#include <QAbstractEventDispatcher>
#include <QEventLoop>
#include <QIcon>
#include <QPalette>
#include <QSettings>
#include <QStyle>
#include <QStyleFactory>
#include <QThread>
#include <QTimer>

#include <algorithm>
#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <unistd.h>

namespace {

QEvent::Type const kWake = static_cast<QEvent::Type>(QEvent::registerEventType());
QEvent::Type const kSoon = static_cast<QEvent::Type>(QEvent::registerEventType());
QEvent::Type const kWork = static_cast<QEvent::Type>(QEvent::registerEventType());

class WorkEvent : public QEvent {
  public:
    explicit WorkEvent(std::function<void()> work) : QEvent(kWork), work_(std::move(work)) {}
    std::function<void()> const work_;
};

/// What a worker changes row by row is shown at most so often: for each row alone, taking the lock from it, bringing
/// the views up to date and painting would cost more than the row (milliseconds).
constexpr qint64 kFrame = 40;
/// Frames that cost more come less often: the rest of the time is the workers', who wait while the window is painted.
constexpr qint64 kTimesCost = 10;
constexpr qint64 kLongestFrame = 200;

/// A window that is minimised from the start is not painted; what waits for it does so for this long only
/// (milliseconds).
constexpr int kLongestUnpainted = 1000;

Application *application = nullptr;
QEventLoop *main_loop = nullptr;

/// The lock of an outermost delivery. A callback that left the library for good has taken it away already.
class HeldByDelivery {
  public:
    /// `keep`: a caller further out holds the lock.
    explicit HeldByDelivery(bool keep) : keep_(keep) { PtLockAcquireGui(); }
    ~HeldByDelivery() {
        if (!keep_ && PtLockHeld())
            PtLockReleaseGui();
    }
    HeldByDelivery(HeldByDelivery const &) = delete;
    HeldByDelivery &operator=(HeldByDelivery const &) = delete;

  private:
    bool const keep_;
};

} // namespace

Application::Application(int &argc, char **argv) : QApplication(argc, argv) {
    connect(QAbstractEventDispatcher::instance(), &QAbstractEventDispatcher::aboutToBlock, this,
            &Application::AboutToWait);
}

Application *TheApplication() { return application; }

bool Application::notify(QObject *receiver, QEvent *event) {
    if (!PtOnGuiThread() || PtServingFlush())
        return QApplication::notify(receiver, event);
    if (PtLockHeld() && thread()->loopLevel() <= loop_level_)
        return Deliver(receiver, event);
    if (receiver == &waker_ && event->type() == kSoon && Paced())
        return true;
    return DeliverOutermost(receiver, event);
}

bool Application::DeliverOutermost(QObject *receiver, QEvent *event) {
    bool const lent = std::exchange(lent_, false) || PtLockHeld();
    HeldByDelivery const held(lent);
    int const outer_level = std::exchange(loop_level_, thread()->loopLevel());
    QElapsedTimer clock;
    clock.start();
    depth_++;
    if (depth_ == 1) // a nested loop's caller may hold on to widgets
        PtFreeDestroyed();
    SyncViews();
    bool const paints = receiver == &waker_ || event->type() == QEvent::UpdateRequest;
    bool const result = Deliver(receiver, event);
    depth_--;
    loop_level_ = outer_level;
    lent_ = false;
    if (paints)
        frame_cost_ += clock.nsecsElapsed();
    return result;
}

/// Lets workers in while a loop waits that was started inside a delivery. (Loops of ours start without the lock.)
void Application::AboutToWait() {
    if (thread()->loopLevel() <= loop_level_ || !PtLockHeld())
        return;
    lent_ = true;
    PtLockReleaseGui();
}

bool Application::Deliver(QObject *receiver, QEvent *event) {
    if (receiver == &waker_) {
        if (event->type() == kWake || event->type() == kSoon || event->type() == QEvent::Timer) {
            // The views have been brought up to date on the way here.
            SyncDone(event->type());
            if (depth_ == 1)
                BuryViews();
            if (main_loop && !WindowsLeft())
                main_loop->quit();
        } else if (event->type() == kWork) {
            static_cast<WorkEvent *>(event)->work_();
        }
        return true;
    }
    PhEvent_t const input = EventOf(*event);
    if (input.type != 0) {
        CurrentInputScope const current(input);
        if (FilterInput(receiver, event))
            return true;
        return QApplication::notify(receiver, event);
    }
    if (FilterInput(receiver, event))
        return true;
    bool const result = QApplication::notify(receiver, event);
    AfterInput(receiver, event);
    if (!painted_ && event->type() == QEvent::Paint)
        Painted();
    return result;
}

/// Puts a worker's changes off to the next frame when the last one was just now.
bool Application::Paced() {
    qint64 const frame = std::clamp(kTimesCost * frame_cost_ / 1'000'000, kFrame, kLongestFrame);
    qint64 const left = since_frame_.isValid() ? frame - since_frame_.elapsed() : 0;
    if (left > 0 && !pace_.isActive())
        pace_.start(static_cast<int>(left), Qt::PreciseTimer, &waker_);
    return left > 0;
}

void Application::SyncDone(QEvent::Type asked) {
    if (asked == kWake) {
        woken_ = false;
        return;
    }
    soon_ = false;
    pace_.stop();
    since_frame_.start();
    frame_cost_ = 0;
}

void Application::Wake() {
    bool const soon = !PtOnGuiThread() && !PtCore().flushing;
    std::atomic<bool> &asked = soon ? soon_ : woken_;
    if (!asked.load(std::memory_order_relaxed) && !asked.exchange(true))
        QCoreApplication::postEvent(&waker_, new QEvent(soon ? kSoon : kWake));
}

void Application::Post(std::function<void()> work) {
    QCoreApplication::postEvent(&waker_, new WorkEvent(std::move(work)));
}

void Application::PostPainted(std::function<void()> work) {
    if (painted_)
        return Post(std::move(work));
    if (after_paint_.empty())
        QTimer::singleShot(kLongestUnpainted, &waker_, [this] { Painted(); });
    after_paint_.push_back(std::move(work));
}

void Application::Painted() {
    painted_ = true;
    // The event that paints is over before the next posted one.
    for (std::function<void()> &work : std::exchange(after_paint_, {}))
        Post(std::move(work));
}

bool WindowsLeft() {
    return std::any_of(PtTopLevels().begin(), PtTopLevels().end(), [](PtWidget const *widget) {
        return widget->widget_class->is_window && !(widget->flags & Pt_DESTROYED);
    });
}

/// Some desktops' dark colours leave the hints in empty fields dark on dark; half of the text's colour is Qt's own
/// rule.
static void ShowPlaceholders() {
    QPalette palette = QApplication::palette();
    int const ground = palette.color(QPalette::Base).lightness();
    if (abs(palette.color(QPalette::PlaceholderText).lightness() - ground) > 64)
        return;
    QColor hint = palette.color(QPalette::Text);
    hint.setAlpha(128);
    palette.setColor(QPalette::PlaceholderText, hint);
    QApplication::setPalette(palette);
}

static QtMessageHandler usual_messages = nullptr;

/// Qt aborts when no plug-in of its can reach a display, as on Wayland alone without qt6-wayland.
static void EndWithoutDisplay(QtMsgType type, QMessageLogContext const &context, QString const &text) {
    if (type != QtFatalMsg)
        return usual_messages(type, context, text);
    fprintf(stderr, "PtInit: no window can be shown: %s\n", qUtf8Printable(text));
    if (getenv("WAYLAND_DISPLAY") && !getenv("DISPLAY"))
        fprintf(stderr, "For Wayland Qt needs its plug-in, the package qt6-wayland.\n");
    _exit(1);
}

int PtInit(char const *) {
    if (application)
        return 0;
    if (QCoreApplication::instance()) {
        fprintf(stderr, "PtInit: another application object exists already\n");
        return -1;
    }
    if (!getenv("QT_QPA_PLATFORM") && !getenv("DISPLAY") && !getenv("WAYLAND_DISPLAY")) {
        fprintf(stderr, "PtInit: there is no display (DISPLAY and WAYLAND_DISPLAY are not set)\n");
        return -1;
    }
    static int argc = 1;
    static char name[] = "corvanta";
    static char *argv[] = {name, nullptr};
    QGuiApplication::setDesktopFileName(QStringLiteral("corvanta"));
    QCoreApplication::setApplicationName(QStringLiteral("Corvanta"));
    QtMessageHandler const before = qInstallMessageHandler(EndWithoutDisplay);
    usual_messages = before;
    application = new Application(argc, argv); // lives as long as the process; PtExit deletes it
    qInstallMessageHandler(before);
    // Qt's file dialog would note its size and its last directories in the user's configuration directory.
    QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, QStringLiteral("/dev/null"));
    // Windows made in code and boxes have no icon of their own.
    QApplication::setWindowIcon(QIcon(QStringLiteral(":/icons/corvanta.svg")));
    // Dates and numbers on the wire and in files are not the user's language.
    setlocale(LC_NUMERIC, "C");
    setlocale(LC_TIME, "C");
    QApplication::setQuitOnLastWindowClosed(false);
    QString const style = QApplication::style()->objectName();
    bool const plain = style.isEmpty() || style.compare(QLatin1String("windows"), Qt::CaseInsensitive) == 0;
    QApplication::setStyle(new Style(QStyleFactory::create(plain ? QStringLiteral("Fusion") : style)));
    ShowPlaceholders();
    PtSetDisplay(&QtDisplay::The());
    PtLockInit();
    return 0;
}

void PtMainLoop(void) {
    if (!application || !PtOnGuiThread() || main_loop)
        return;
    QEventLoop loop;
    main_loop = &loop;
    application->Wake();
    while (WindowsLeft()) {
        PtLockPause const pause;
        loop.exec();
    }
    main_loop = nullptr;
}

struct PtWorkProcId {
    int (*work)(void *data);
    void *data;

    void Run() {
        if (work(data) == Pt_CONTINUE)
            application->Post([self = *this]() mutable { self.Run(); });
    }
};

PtWorkProcId_t *PtAppAddWorkProc(PtAppContext_t, int (*work)(void *data), void *data) {
    static PtWorkProcId last;
    if (!application || !PtLockHeld() || !work)
        return nullptr;
    last = {work, data};
    auto const run = [proc = last]() mutable { proc.Run(); };
    if (PtOnGuiThread())
        application->PostPainted(run);
    else
        application->Post(run);
    return &last;
}

void PtExit(int status) {
    // Workers may still run; one that enters the library from now on waits there until the process ends.
    if (application && PtOnGuiThread() && application->depth() == 0) {
        BuryViews();
        delete application;
        application = nullptr;
    }
    fflush(nullptr);
    _exit(status);
}
