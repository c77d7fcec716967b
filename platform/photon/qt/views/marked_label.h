#pragma once
// Texts with a marked letter, as buttons and menu entries have them.

#include "core/widget.h"

#include <QString>

/// A text of a module file without the "&" that marks its letter.
QString PlainLabel(QString text);
/// A widget's text with the letter of Pt_ARG_ACCEL_KEY marked.
QString MarkedLabel(PtWidget &widget);
