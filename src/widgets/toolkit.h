#pragma once
// Small helpers over the toolkit that every folder with widgets uses.

#include "Pt.h"

#include <string>

/// Holds the library lock. PtEnter answers -EDEADLK to a caller that has it already, and PtLeave would then take away
/// the caller's own: the guard leaves only what it has entered. It works on the main thread and on workers alike.
class ToolkitGuard {
  public:
    ToolkitGuard() : entered_(PtEnter(0) >= 0) {}
    ~ToolkitGuard() {
        if (entered_)
            PtLeave(0);
    }
    ToolkitGuard(ToolkitGuard const &) = delete;
    ToolkitGuard &operator=(ToolkitGuard const &) = delete;

  private:
    bool entered_;
};

/// The font of every alert. Written once at start-up.
extern char AlertFont[80];

/// Shows `text` in the main window's status label. Any thread. Does nothing after the window was closed.
void SetStatus(std::string const &text);

/// Shows what went wrong in the status label. Any thread. Empty: nothing is shown.
void SetProblem(std::string const &text);

/// Takes the problem that SetProblem has shown last out of the status label, when it is still there: something has
/// worked since. Any thread.
void ClearProblem();

/// Sets the main window's progress bar, 0 to 100. Any thread.
void SetProgress(int percent);

/// Sets or clears Pt_BLOCKED of a widget (null is left alone). The caller holds the library lock.
void SetBlocked(PtWidget_t *widget, bool blocked);

/// Who blocks widgets of the main window, each for a time of its own.
enum Blocker : unsigned long { kCheckBlocks = 1, kDownloadBlocks = 2, kGroupDialogBlocks = 4 };

/// Blocks or unblocks a widget (null is left alone) for one of them: it stays blocked as long as any of them wants
/// it so. Not to be mixed with SetBlocked on one widget. The caller holds the library lock.
void SetBlockedBy(Blocker blocker, PtWidget_t *widget, bool blocked);

/// The text of a label, text, combo or numeric widget (empty for null). Valid until the text changes.
char const *WidgetText(PtWidget_t *widget);
void SetWidgetText(PtWidget_t *widget, char const *text);

/// An alert "title" / "message" with the single button "&Close". Returns when it is closed.
void ShowError(PtWidget_t *parent, char const *title, char const *message);

/// A question with two buttons; the first is the default. True when the second was pressed.
bool AskTwo(PtWidget_t *parent, char const *title, char const *message, char const *first, char const *second);
