#include "qt/loop/events.h"

#include <QCursor>
#include <QKeyEvent>
#include <QMouseEvent>

#include <algorithm>
#include <climits>

namespace {

PhEvent_t current_input{};

short Short(int value) { return static_cast<short>(std::clamp(value, SHRT_MIN, SHRT_MAX)); }

unsigned short ButtonOf(Qt::MouseButton button) {
    switch (button) {
    case Qt::RightButton:
        return Ph_BUTTON_MENU;
    case Qt::MiddleButton:
        return Ph_BUTTON_ADJUST;
    default:
        return Ph_BUTTON_SELECT;
    }
}

} // namespace

PhEvent_t PointerEvent(unsigned long type, QPoint on_screen, int click_count, unsigned short button) {
    PhEvent_t event{};
    event.type = type;
    event.pointer.pos = {Short(on_screen.x()), Short(on_screen.y())};
    event.pointer.buttons = button;
    event.pointer.click_count = static_cast<unsigned char>(click_count);
    return event;
}

PhEvent_t EventOf(QEvent const &event) {
    switch (event.type()) {
    case QEvent::MouseButtonPress:
    case QEvent::MouseButtonRelease:
    case QEvent::MouseButtonDblClick: {
        auto const &mouse = static_cast<QMouseEvent const &>(event);
        bool const release = event.type() == QEvent::MouseButtonRelease;
        return PointerEvent(release ? Ph_EV_BUT_RELEASE : Ph_EV_BUT_PRESS, mouse.globalPosition().toPoint(),
                            event.type() == QEvent::MouseButtonDblClick ? 2 : 1, ButtonOf(mouse.button()));
    }
    case QEvent::KeyPress:
    case QEvent::KeyRelease:
    case QEvent::Shortcut:
        return PointerEvent(Ph_EV_KEY, QCursor::pos(), 0, 0);
    default:
        return {};
    }
}

unsigned KeySymbol(QKeyEvent const &event) {
    int const key = event.key();
    if (key >= Qt::Key_F1 && key <= Qt::Key_F12)
        return static_cast<unsigned>(Pk_F5 + key - Qt::Key_F5);
    switch (key) {
    case Qt::Key_Delete:
        return Pk_Delete;
    case Qt::Key_Return:
    case Qt::Key_Enter:
        return Pk_Return;
    case Qt::Key_Escape:
        return Pk_Escape;
    default:
        break;
    }
    if (key >= Qt::Key_A && key <= Qt::Key_Z)
        return static_cast<unsigned>(key - Qt::Key_A + 'a');
    return key > 0 && key < 0x7F ? static_cast<unsigned>(key) : 0;
}

unsigned KeyModifiers(QKeyEvent const &event) {
    Qt::KeyboardModifiers const mods = event.modifiers();
    unsigned result = 0;
    if (mods & Qt::ShiftModifier)
        result |= Pk_KM_Shift;
    if (mods & Qt::ControlModifier)
        result |= Pk_KM_Ctrl;
    if (mods & Qt::AltModifier)
        result |= Pk_KM_Alt;
    return result;
}

PhEvent_t *CurrentInput() { return &current_input; }

CurrentInputScope::CurrentInputScope(PhEvent_t const &event) : before_(current_input) { current_input = event; }
CurrentInputScope::~CurrentInputScope() { current_input = before_; }
