#pragma once
// Places and sizes: windows on the screen, and children that were placed by hand and follow their parent's edges.

#include "core/widget.h"

#include <QRect>
#include <QString>
#include <QWidget>

/// Puts a child where its position, size and anchors say. Does nothing to a child that a layout holds.
void PlaceInParent(PtWidget &widget, QWidget &native);

/// The parent was resized: children with anchors follow.
void FollowParent(PtWidget &parent, QSize before, QSize now);

/// Where the first window goes, from the command line: "10", "50%", "20r"; empty for what was not given.
struct StandardOptions {
    std::string x, y, w, h;
    char state = 0; ///< 'i' iconified, 'm' maximised, 'n' normal, 0 not given
};

/// A length of the command line in pixels of `whole`; `fallback` when it is not one.
int OptionLength(std::string const &text, int whole, int fallback);

/// A window's place and size, cut and moved so that it is wholly in `screen`.
QRect FitInto(QRect window, QRect screen);
