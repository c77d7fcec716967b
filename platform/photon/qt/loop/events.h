#pragma once
// Qt's input events as the toolkit's.

#include "Pt.h"

#include <QPoint>

class QEvent;
class QKeyEvent;

/// A pointer event at a place on the screen.
PhEvent_t PointerEvent(unsigned long type, QPoint on_screen, int click_count, unsigned short button);
/// The event for a Qt mouse or key event; other kinds give type 0.
PhEvent_t EventOf(QEvent const &event);
/// The key as hotkeys name it, 0 for one they cannot name.
unsigned KeySymbol(QKeyEvent const &event);
unsigned KeyModifiers(QKeyEvent const &event);

/// The input event that is being delivered; type 0 outside of one.
PhEvent_t *CurrentInput();

/// Notes an input event as the current one for as long as it lives.
class CurrentInputScope {
  public:
    explicit CurrentInputScope(PhEvent_t const &event);
    ~CurrentInputScope();
    CurrentInputScope(CurrentInputScope const &) = delete;
    CurrentInputScope &operator=(CurrentInputScope const &) = delete;

  private:
    PhEvent_t before_;
};
