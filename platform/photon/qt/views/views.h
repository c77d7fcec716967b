#pragma once
// Making views: from a Qt object that a module file described, or from nothing.

#include "qt/views/view.h"

#include <memory>

std::unique_ptr<PtView> MakeLabelView(PtWidget &widget, QObject *native, bool owned);
std::unique_ptr<PtView> MakeButtonView(PtWidget &widget, QObject *native, bool owned);
std::unique_ptr<PtView> MakeTextView(PtWidget &widget, QObject *native, bool owned);
std::unique_ptr<PtView> MakeMultiTextView(PtWidget &widget, QObject *native, bool owned);
std::unique_ptr<PtView> MakeComboView(PtWidget &widget, QObject *native, bool owned);
std::unique_ptr<PtView> MakeNumericView(PtWidget &widget, QObject *native, bool owned);
std::unique_ptr<PtView> MakeProgressView(PtWidget &widget, QObject *native, bool owned);
std::unique_ptr<PtView> MakeTreeView(PtWidget &widget, QObject *native, bool owned);
std::unique_ptr<PtView> MakeMenuView(PtWidget &widget, QObject *native, bool owned);
std::unique_ptr<PtView> MakeMenuButtonView(PtWidget &widget, QObject *native, bool owned);
std::unique_ptr<PtView> MakeWindowView(PtWidget &widget, QObject *native, bool owned);
std::unique_ptr<PtView> MakeTimerView(PtWidget &widget, QObject *native, bool owned);
std::unique_ptr<PtView> MakePaneView(PtWidget &widget, QObject *native, bool owned);

/// The view that fits the widget's class. `native` is of the class that NativeFor or the module loader made.
std::unique_ptr<PtView> MakeView(PtWidget &widget, QObject *native, bool owned);

/// The Qt object for a widget that did not come from a module file, as a child of its parent's.
QObject *NativeFor(PtWidget &widget);
