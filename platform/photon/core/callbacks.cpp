// Callback lists and hotkeys.

#include "core/lock.h"
#include "core/state.h"

#include <algorithm>

namespace {

bool Same(PtCallback_t const &left, PtCallback_t const &right) {
    return left.event_f == right.event_f && left.data == right.data;
}

bool StillAttached(PtWidget_t const &widget, unsigned long type, PtCallback_t const &callback) {
    auto const list = widget.callbacks.find(type);
    return list != widget.callbacks.end() &&
           std::any_of(list->second.begin(), list->second.end(),
                       [&](PtCallback_t const &other) { return Same(other, callback); });
}

/// Counts the callbacks on the GUI thread's stack. A worker's are counted by the widgets they run for.
class OnStack {
  public:
    OnStack() : counts_(PtOnGuiThread()) { PtCore().gui_callbacks += counts_; }
    ~OnStack() { PtCore().gui_callbacks -= counts_; }
    OnStack(OnStack const &) = delete;
    OnStack &operator=(OnStack const &) = delete;

  private:
    bool counts_;
};

} // namespace

int PtInvokeCallbacks(PtWidget_t &widget, unsigned long type, unsigned long subtype, PhEvent_t *event, void *cbdata) {
    auto const list = widget.callbacks.find(type);
    if (list == widget.callbacks.end() || ((widget.flags & Pt_DESTROYED) && type != Pt_CB_DESTROYED))
        return Pt_CONTINUE;
    PtPin const pin(widget);
    OnStack const on_stack;
    PtCallbackInfo_t info{type, subtype, event, cbdata};
    std::vector<PtCallback_t> const callbacks = list->second; // a callback may attach and remove others
    for (PtCallback_t const &callback : callbacks) {
        if (!StillAttached(widget, type, callback))
            continue;
        if (int const answer = callback.event_f(&widget, callback.data, &info); answer != Pt_CONTINUE)
            return answer;
        if ((widget.flags & Pt_DESTROYED) && type != Pt_CB_DESTROYED)
            break;
    }
    return Pt_CONTINUE;
}

void PtAddCallbacks(PtWidget_t *widget, unsigned long type, PtCallback_t const *callbacks, unsigned count) {
    if (!widget || !callbacks)
        return;
    for (unsigned i = 0; i < count; i++)
        if (callbacks[i].event_f)
            widget->callbacks[type].push_back(callbacks[i]);
}

void PtAddCallback(PtWidget_t *widget, unsigned long type, PtFunction_t function, void *data) {
    PtCallback_t const callback{function, data};
    PtAddCallbacks(widget, type, &callback, 1);
}

void PtRemoveCallback(PtWidget_t *widget, unsigned long type, PtFunction_t function, void *data) {
    if (!widget || !widget->callbacks.contains(type))
        return;
    std::vector<PtCallback_t> &list = widget->callbacks[type];
    auto const found = std::find_if(list.begin(), list.end(), [&](PtCallback_t const &other) {
        return Same(other, {function, data});
    });
    if (found != list.end())
        list.erase(found);
}

int PtAddHotkeyHandler(PtWidget_t *widget, unsigned key, unsigned mods, short flags, void *data,
                       PtFunction_t function) {
    if (!widget)
        return -1;
    widget->hotkeys.push_back({key, mods, flags, function, data});
    PtNoteChange(*widget, Pt_CB_HOTKEY);
    return 0;
}
