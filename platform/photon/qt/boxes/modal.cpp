#include "qt/boxes/modal.h"

#include "core/lock.h"
#include "qt/loop/application.h"
#include "qt/views/geometry.h"
#include "qt/views/view.h"

#include <QEventLoop>
#include <QScreen>
#include <QWindow>

#include <algorithm>
#include <condition_variable>
#include <mutex>

namespace {

/// What a waiting thread and the box share; both keep it alive.
struct Wait {
    std::mutex mutex;
    std::condition_variable answered;
    bool done = false;
    QEventLoop *loop = nullptr; ///< the GUI thread's own

    void Finish() {
        std::lock_guard const guard(mutex);
        done = true;
        if (loop)
            loop->quit();
        answered.notify_one();
    }
};

} // namespace

bool RunModal(std::function<void(ModalDone done)> const &open) {
    if (!TheApplication())
        return false;
    auto wait = std::make_shared<Wait>();
    ModalDone const done = [wait] { wait->Finish(); };
    if (!PtOnGuiThread()) {
        PtCancelOff const cancel_off; // the box writes to this stack
        TheApplication()->Post([open, done] { open(done); });
        PtLockPause const pause;
        std::unique_lock guard(wait->mutex);
        wait->answered.wait(guard, [&] { return wait->done; });
        return true;
    }
    QEventLoop loop;
    wait->loop = &loop;
    open(done);
    PtLockPause const pause;
    while (!wait->done)
        loop.exec();
    wait->loop = nullptr;
    return true;
}

DialogPlace::DialogPlace(PtWidget_t *parent, PhPoint_t const *position) : parent(parent) {
    if (position)
        offset = QPoint(position->x, position->y);
}

void ShowModal(QDialog &dialog, DialogPlace const &place, std::function<void(int code)> finished) {
    // The parent may have been destroyed since a worker asked.
    std::vector<PtWidget_t *> const &windows = PtTopLevels();
    PtWidget_t *window = nullptr;
    for (PtWidget_t *top : windows)
        if (top == place.parent || (place.parent == nullptr && !window && top->widget_class->is_window))
            window = top;
    QWidget *parent = window ? NativeWidget(window) : nullptr;
    if (parent && !parent->isVisible())
        parent = nullptr;
    dialog.setWindowModality(Qt::ApplicationModal);
    dialog.adjustSize();
    QScreen *screen = parent ? parent->screen() : QGuiApplication::primaryScreen();
    QRect const room = screen ? screen->availableGeometry() : QRect(0, 0, 800, 600);
    QRect where(QPoint(), dialog.size());
    if (place.offset)
        where.moveTopLeft((parent ? parent->geometry().topLeft() : room.topLeft()) + *place.offset);
    else
        where.moveCenter((parent ? parent->geometry() : room).center());
    dialog.setGeometry(FitInto(where, room));
    if (parent) {
        dialog.winId(); // makes the system's window, which alone can belong to another
        if (dialog.windowHandle())
            dialog.windowHandle()->setTransientParent(parent->windowHandle());
    }
    QObject::connect(&dialog, &QDialog::finished, &dialog, [&dialog, finished = std::move(finished)](int code) {
        dialog.deleteLater();
        finished(code);
    });
    dialog.show();
    dialog.raise();
    dialog.activateWindow();
}
