#pragma once
// What an input event meets before Qt handles it: blocked widgets, hotkeys, menus on the right button.

class QEvent;
class QObject;

/// Looks at an input event before Qt does: input of blocked widgets is eaten, hotkeys and right presses with a menu
/// callback are served. True when the event must not go on.
bool FilterInput(QObject *receiver, QEvent *event);
/// After Qt has handled a focus change: focus that came to a blocked widget by the Tab key moves on.
void AfterInput(QObject *receiver, QEvent *event);
