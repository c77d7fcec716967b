// What waits for the GUI thread: the marked widgets, and bringing one of them up to date.

#include "core/display.h"
#include "core/lock.h"
#include "core/state.h"

#include <new>
#include <utility>

namespace {

PtDisplay *the_display = nullptr;

/// Makes the views that are missing from the topmost ancestor down.
void MakeViews(PtWidget_t &widget) {
    if (!widget.wants_view)
        return;
    if (widget.parent)
        MakeViews(*widget.parent);
    widget.wants_view = false;
    the_display->CreateView(widget);
}

int ActNow(PtWidget_t &widget, PtAction const &action) {
    switch (action.resource) {
    case kPtActToFront:
        the_display->ToFront(widget);
        return 0;
    case kPtActFocus:
        return the_display->GiveFocus(widget) ? 0 : -1;
    case kPtActModal:
        the_display->MakeModal(widget);
        return 0;
    default:
        return widget.view ? widget.view->Act(widget, action) : -1;
    }
}

/// Carries out what waits. An action may set resources or even destroy the widget.
void RunActions(PtWidget_t &widget) {
    PtPin const pin(widget);
    while (!widget.actions.empty() && widget.view) {
        std::vector<PtAction> const actions = std::exchange(widget.actions, {});
        for (PtAction const &action : actions)
            ActNow(widget, action);
    }
}

} // namespace

PtDisplay *PtTheDisplay() { return the_display; }
void PtSetDisplay(PtDisplay *display) { the_display = display; }

PtCoreState &PtCore() {
    alignas(PtCoreState) static std::byte place[sizeof(PtCoreState)];
    static PtCoreState &state = *new (place) PtCoreState;
    return state;
}

void PtMarkDirty(PtWidget_t &widget, unsigned bits) {
    if (widget.flags & Pt_DESTROYED)
        return;
    widget.dirty |= bits;
    if (widget.queued)
        return;
    widget.queued = true;
    PtCore().dirty.push_back(&widget);
    if (the_display)
        the_display->Wake();
}

std::vector<PtWidget_t *> PtTakeDirty() {
    std::vector<PtWidget_t *> taken = std::exchange(PtCore().dirty, {});
    for (PtWidget_t *widget : taken)
        widget->queued = false;
    return taken;
}

void PtSyncWidget(PtWidget_t &widget) {
    if (widget.flags & Pt_DESTROYED)
        return;
    if (the_display)
        MakeViews(widget);
    if (!widget.view)
        return;
    widget.view->Sync(widget);
    widget.dirty = 0;
    widget.changed.clear();
    if (PtTreeState *tree = widget.tree.get()) {
        tree->appended = 0;
        tree->texts_changed = tree->selection_changed = tree->expansion_changed = false;
        tree->show = nullptr;
    }
    RunActions(widget);
}

int PtDoAction(PtWidget_t &widget, PtAction action) {
    if (PtOnGuiThread() && !PtServingFlush() && widget.view) {
        PtPin const pin(widget);
        RunActions(widget);
        return ActNow(widget, action);
    }
    PtResourceDef const *definition = PtFindResource(widget.widget_class, action.resource);
    if (definition && definition->type == PtType::ActionText)
        action.value = action.len = 0; // the caller's addresses may be invalid by then; the text is ours
    widget.actions.push_back(std::move(action));
    PtMarkDirty(widget, kDirtyActions);
    return 0;
}

void PtGiveView(PtWidget_t &widget) {
    widget.wants_view = true;
    if (the_display && PtOnGuiThread() && !PtServingFlush())
        MakeViews(widget);
    PtMarkDirty(widget, kDirtyResources | kDirtyFlags | kDirtyGeometry);
}
