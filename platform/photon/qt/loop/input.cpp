#include "qt/loop/input.h"

#include "core/widget.h"
#include "qt/loop/events.h"
#include "qt/views/tree_frame.h"
#include "qt/views/view.h"

#include <QApplication>
#include <QContextMenuEvent>
#include <QFocusEvent>
#include <QKeyEvent>
#include <QMenu>
#include <QMouseEvent>

namespace {

bool IsInput(QEvent::Type type) {
    switch (type) {
    case QEvent::MouseButtonPress:
    case QEvent::MouseButtonRelease:
    case QEvent::MouseButtonDblClick:
    case QEvent::MouseMove:
    case QEvent::HoverEnter:
    case QEvent::HoverMove:
    case QEvent::KeyPress:
    case QEvent::KeyRelease:
    case QEvent::ShortcutOverride:
    case QEvent::Shortcut:
    case QEvent::InputMethod:
    case QEvent::ContextMenu:
    case QEvent::Wheel:
    case QEvent::DragEnter:
    case QEvent::DragMove:
    case QEvent::Drop:
    case QEvent::TabletPress:
    case QEvent::TabletMove:
    case QEvent::TabletRelease:
    case QEvent::TouchBegin:
    case QEvent::TouchUpdate:
    case QEvent::TouchEnd:
        return true;
    default:
        return false;
    }
}

bool IsBlocked(View const *view) { return view && view->widget() && PtIsBlocked(*view->widget()); }

/// A menu is not blocked with one of its entries; the entry that an event is about is.
bool AimsAtBlockedEntry(QObject *receiver, QEvent const &event) {
    auto *menu = qobject_cast<QMenu *>(receiver);
    if (!menu)
        return false;
    QAction *entry = nullptr;
    if (event.type() == QEvent::MouseButtonPress || event.type() == QEvent::MouseButtonRelease)
        entry = menu->actionAt(static_cast<QMouseEvent const &>(event).position().toPoint());
    else if (event.type() == QEvent::KeyPress) {
        int const key = static_cast<QKeyEvent const &>(event).key();
        if (key == Qt::Key_Return || key == Qt::Key_Enter || key == Qt::Key_Space || key == Qt::Key_Right)
            entry = menu->activeAction();
    }
    if (!entry)
        return false;
    return IsBlocked(View::Of(entry->menu() ? static_cast<QObject *>(entry->menu()) : entry));
}

bool CanTakeFocus(QWidget *widget) {
    return widget->isVisible() && widget->isEnabled() && (widget->focusPolicy() & Qt::TabFocus) &&
           !IsBlocked(View::Of(widget));
}

/// Gives the focus to the next widget of the window that may have it.
void MoveFocus(QWidget *from, bool backwards) {
    for (QWidget *next = from;;) {
        next = backwards ? next->previousInFocusChain() : next->nextInFocusChain();
        if (!next || next == from)
            return;
        if (next->window() == from->window() && CanTakeFocus(next)) {
            next->setFocus(backwards ? Qt::BacktabFocusReason : Qt::TabFocusReason);
            return;
        }
    }
}

/// Input for a blocked widget goes nowhere; only the Tab key still leads away from it, and Escape is the window's.
void EatBlocked(QObject *receiver, QEvent *event) {
    if (event->type() == QEvent::KeyPress) {
        int const key = static_cast<QKeyEvent *>(event)->key();
        auto *widget = qobject_cast<QWidget *>(receiver);
        if (widget && (key == Qt::Key_Tab || key == Qt::Key_Backtab))
            MoveFocus(widget, key == Qt::Key_Backtab);
        else if (widget && key == Qt::Key_Escape && widget->window() != widget)
            QCoreApplication::sendEvent(widget->window(), event);
    }
    // An accepted override would keep the key from the window's mnemonics and shortcuts.
    if (event->type() == QEvent::DragEnter || event->type() == QEvent::DragMove ||
        event->type() == QEvent::ShortcutOverride)
        event->ignore();
    else
        event->accept();
}

bool Matches(PtHotkey const &hotkey, PtWidget &widget, QKeyEvent const &key) {
    if (hotkey.key != KeySymbol(key) || hotkey.key == 0)
        return false;
    if (!(hotkey.flags & Pt_HOTKEY_IGNORE_MODS) && hotkey.mods != KeyModifiers(key))
        return false;
    QWidget *native = NativeWidget(&widget);
    QWidget *focus = QApplication::focusWidget();
    return !(hotkey.flags & Pt_HOTKEY_FOCUSED) ||
           (native && focus && (native == focus || native->isAncestorOf(focus)));
}

/// The first hotkey for a key in a window, in the order of its widgets.
bool FindHotkey(PtWidget &widget, QKeyEvent const &key, PtWidget *&owner, PtHotkey &found) {
    if (!(widget.flags & Pt_REALIZED) || PtIsBlocked(widget))
        return false;
    for (PtHotkey const &hotkey : widget.hotkeys)
        if (Matches(hotkey, widget, key)) {
            owner = &widget;
            found = hotkey;
            return true;
        }
    for (PtWidget *child : widget.children) // a window inside it has hotkeys of its own
        if (!child->widget_class->is_window && FindHotkey(*child, key, owner, found))
            return true;
    return false;
}

/// True when the focused field itself has a use for the key.
bool FieldWants(QObject *receiver, QKeyEvent const &key) {
    QKeyEvent ask(QEvent::ShortcutOverride, key.key(), key.modifiers(), key.text());
    ask.ignore();
    for (char const *field : {"QLineEdit", "QPlainTextEdit", "QAbstractSpinBox", "QComboBox"})
        if (receiver->inherits(field)) {
            QCoreApplication::sendEvent(receiver, &ask);
            return ask.isAccepted();
        }
    return false;
}

bool ServeHotkey(QObject *receiver, QKeyEvent *key) {
    auto *target = qobject_cast<QWidget *>(receiver);
    if (!target || qobject_cast<QMenu *>(receiver))
        return false;
    View *view = View::Of(target->window());
    if (!view || !view->widget())
        return false;
    PtWidget *owner = nullptr;
    PtHotkey hotkey{};
    if (!FindHotkey(*view->widget(), *key, owner, hotkey) || FieldWants(receiver, *key))
        return false;
    PhEvent_t event = EventOf(*key);
    if (!hotkey.function)
        return PtInvokeCallbacks(*owner, Pt_CB_ACTIVATE, Pt_CB_HOTKEY, &event, nullptr), true;
    PtCallbackInfo_t info = {Pt_CB_HOTKEY, 0, &event, nullptr};
    owner->callbacks_running++;
    hotkey.function(owner, hotkey.data, &info);
    owner->callbacks_running--;
    return true;
}

bool HasMenu(View const &view) {
    if (!view.widget() || (view.widget()->flags & Pt_ALL_BUTTONS))
        return false;
    auto const entry = view.widget()->callbacks.find(Pt_CB_MENU);
    return entry != view.widget()->callbacks.end() && !entry->second.empty();
}

/// The nearest view with a menu callback, inside the window that the event is in.
View *MenuOwner(QObject *receiver) {
    for (View *view = View::Of(receiver); view;
         view = view->native() ? View::Of(view->native()->parent()) : nullptr) {
        if (HasMenu(*view))
            return view;
        if (view->native_widget() && view->native_widget()->isWindow())
            break;
    }
    return nullptr;
}

/// Right presses, and the menu key, with a menu callback. Trees choose the row first.
bool ServeMenu(QObject *receiver, QEvent *event) {
    bool const by_mouse = event->type() == QEvent::MouseButtonPress;
    if (!qobject_cast<QWidget *>(receiver) || qobject_cast<QMenu *>(receiver))
        return false;
    View *owner = MenuOwner(receiver);
    if (!owner)
        return false;
    if (!by_mouse && static_cast<QContextMenuEvent *>(event)->reason() == QContextMenuEvent::Mouse)
        return true; // the press has shown the menu already
    PhEvent_t press;
    if (by_mouse) {
        press = EventOf(*event);
        if (TreeFrame *tree = TreeFrame::Containing(receiver))
            tree->RightPress(static_cast<QMouseEvent *>(event)->globalPosition().toPoint());
    } else {
        TreeFrame *tree = TreeFrame::Containing(receiver);
        QPoint const place = tree ? tree->CurrentPlace() : static_cast<QContextMenuEvent *>(event)->globalPos();
        press = PointerEvent(Ph_EV_BUT_PRESS, place, 1, Ph_BUTTON_MENU);
    }
    if (owner->widget())
        PtInvokeCallbacks(*owner->widget(), Pt_CB_MENU, 0, &press, nullptr);
    event->accept();
    return true;
}

} // namespace

bool FilterInput(QObject *receiver, QEvent *event) {
    if (!IsInput(event->type()))
        return false;
    if (IsBlocked(View::Of(receiver)) || AimsAtBlockedEntry(receiver, *event)) {
        EatBlocked(receiver, event);
        return true;
    }
    if (event->type() == QEvent::KeyPress)
        return ServeHotkey(receiver, static_cast<QKeyEvent *>(event));
    if (event->type() == QEvent::ContextMenu ||
        (event->type() == QEvent::MouseButtonPress && static_cast<QMouseEvent *>(event)->button() == Qt::RightButton))
        return ServeMenu(receiver, event);
    return false;
}

void AfterInput(QObject *receiver, QEvent *event) {
    if (event->type() != QEvent::FocusIn)
        return;
    Qt::FocusReason const reason = static_cast<QFocusEvent *>(event)->reason();
    auto *widget = qobject_cast<QWidget *>(receiver);
    if (widget && (reason == Qt::TabFocusReason || reason == Qt::BacktabFocusReason) && IsBlocked(View::Of(widget)))
        MoveFocus(widget, reason == Qt::BacktabFocusReason);
}
