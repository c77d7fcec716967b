#include "qt/loop/testing.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QThread>

void ProcessEventsFor(int milliseconds) {
    PtLockPause const pause;
    QElapsedTimer clock;
    clock.start();
    do {
        QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
        QThread::msleep(1);
    } while (clock.elapsed() < milliseconds);
}
