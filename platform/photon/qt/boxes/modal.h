#pragma once
// Boxes that the caller waits for, from any thread that holds the library lock.

#include "Pt.h"

#include <QDialog>
#include <QPointer>
#include <QWidget>

#include <functional>
#include <memory>
#include <optional>

using ModalDone = std::function<void()>;

/// Has `open` called on the GUI thread, under the lock, and waits with the lock let go until the `done` that it gets
/// is called. A worker sleeps; the GUI thread runs a loop of its own. False when there is no display.
bool RunModal(std::function<void(ModalDone done)> const &open);

/// Where a box goes: at a place relative to its parent (null: centred), read out while the parent is known to live.
struct DialogPlace {
    DialogPlace(PtWidget_t *parent, PhPoint_t const *position);
    PtWidget_t *parent;
    std::optional<QPoint> offset;
};

/// Shows a dialog in front of all windows, blocking them, and deletes it once it is finished.
void ShowModal(QDialog &dialog, DialogPlace const &place, std::function<void(int code)> finished);
