#pragma once
// For tests that drive the toolkit's windows with Qt's own means.

#include "core/lock.h"
#include "qt/views/view.h"

#include <utility>

/// Runs `work` on the GUI thread with the library let go, as it is between two events: what `work` delivers
/// (QTest::mouseClick, QApplication::sendEvent) is then an outermost delivery.
template <class Work> auto WithoutLock(Work work) {
    PtLockPause const pause;
    return work();
}

/// The Qt widget of a widget, of the wanted kind; null when it has none or another.
template <class Widget> Widget *Native(PtWidget_t const *widget) {
    return qobject_cast<Widget *>(NativeWidget(widget));
}

/// Processes events for about this long; the caller holds the lock before and after.
void ProcessEventsFor(int milliseconds);

/// Processes events until `ready` (called under the lock) holds; false when it does not within the time.
template <class Ready> bool ProcessEventsUntil(Ready ready, int milliseconds = 5000) {
    for (int waited = 0; !ready(); waited += 5) {
        if (waited >= milliseconds)
            return false;
        ProcessEventsFor(5);
    }
    return true;
}
