#pragma once
// Rows of lists by their number, whatever they are by now.

#include <Qt>

/// A click in the middle of the n-th row. False when there is no such row.
bool ClickOn(char const *name, int number, Qt::MouseButton button = Qt::LeftButton);
