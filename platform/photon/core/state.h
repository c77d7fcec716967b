#pragma once
// What the files of the core share among themselves. Everything is guarded by the library lock.

#include "core/widget.h"

struct PtCoreState {
    std::vector<PtWidget_t *> dirty;      ///< marked for the next sync, in order
    std::vector<PtWidget_t *> top_levels; ///< see PtTopLevels
    std::unordered_map<PtWidget_t *, std::unique_ptr<PtWidget_t>> live;
    std::vector<std::unique_ptr<PtWidget_t>> dead; ///< wait for PtFreeDestroyed
    PtWidget_t *default_parent = nullptr;
    int gui_callbacks = 0; ///< callbacks on the GUI thread's stack
    bool flushing = false; ///< what is marked is wanted on the screen now
    void (*destroy_hook)(PtWidget_t &) = nullptr;
};

/// The one state. It is never destroyed: workers may still run while the process exits.
PtCoreState &PtCore();

/// Calls that only the GUI thread can carry out, kept among a widget's actions.
enum : long { kPtActToFront = -1, kPtActFocus = -2, kPtActModal = -3 };

/// Keeps a widget's memory while code that may destroy it runs.
class PtPin {
  public:
    explicit PtPin(PtWidget_t &widget) : widget_(widget) { widget_.callbacks_running++; }
    ~PtPin() { widget_.callbacks_running--; }
    PtPin(PtPin const &) = delete;
    PtPin &operator=(PtPin const &) = delete;

  private:
    PtWidget_t &widget_;
};

/// Resources that move together with the one just stored: geometry's several forms, a number and its text, a combo
/// box's text and chosen item. Returns those of the latter kinds: a view has to look at them as well.
std::vector<long> PtStoreRelated(PtWidget_t &widget, long number);

/// Notes that a resource changed and marks the widget.
void PtNoteChange(PtWidget_t &widget, long number);

/// Puts an action where the GUI thread finds it, or carries it out on the GUI thread. 0, -1 when it failed.
int PtDoAction(PtWidget_t &widget, PtAction action);

/// Tree state of a destroyed widget: its items are freed.
void PtFreeTree(PtWidget_t &widget);
/// A text cut to the widget's Pt_ARG_MAX_LENGTH characters.
std::string_view PtCutToMaxLength(PtWidget_t const &widget, std::string_view text);
