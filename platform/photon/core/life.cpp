// Creation, realizing, unrealizing and destruction of widgets.

#include "core/display.h"
#include "core/lock.h"
#include "core/state.h"

#include <algorithm>
#include <utility>

namespace {

bool StandsAlone(PtWidget_t const &widget) {
    return !widget.parent || widget.widget_class->is_window || PtClassIsA(widget.widget_class, PtMenu);
}

/// Widgets of a subtree, children before their container, kept in memory as long as it lives.
class Subtree {
  public:
    /// `descend` tells which children (with theirs) belong to it.
    template <class Descend> Subtree(PtWidget_t &root, Descend descend) {
        Collect(root, descend);
        for (PtWidget_t *widget : widgets_)
            widget->callbacks_running++;
    }
    ~Subtree() {
        for (PtWidget_t *widget : widgets_)
            widget->callbacks_running--;
    }
    Subtree(Subtree const &) = delete;
    Subtree &operator=(Subtree const &) = delete;

    auto begin() const { return widgets_.begin(); }
    auto end() const { return widgets_.end(); }

  private:
    template <class Descend> void Collect(PtWidget_t &widget, Descend descend) {
        for (PtWidget_t *child : widget.children)
            if (descend(*child))
                Collect(*child, descend);
        widgets_.push_back(&widget);
    }

    std::vector<PtWidget_t *> widgets_;
};

/// Takes a destroyed widget out of everything; its memory goes later.
void Retire(PtWidget_t &widget) {
    PtCoreState &core = PtCore();
    if (core.destroy_hook)
        core.destroy_hook(widget);
    std::erase(core.top_levels, &widget);
    if (widget.queued)
        std::erase(core.dirty, &widget);
    widget.queued = false;
    if (core.default_parent == &widget)
        core.default_parent = widget.parent;
    if (widget.parent)
        std::erase(widget.parent->children, &widget);
    widget.parent = nullptr;
    for (PtWidget_t *child : widget.children) // only one whose own destruction is still on the stack
        child->parent = nullptr;
    widget.children.clear();
    widget.actions.clear();
    PtFreeTree(widget);
    if (widget.view && PtTheDisplay())
        PtTheDisplay()->DestroyView(std::move(widget.view));
    widget.view = nullptr;
    core.dead.push_back(std::move(core.live[&widget]));
    core.live.erase(&widget);
}

/// The nearest ancestor-or-self that is a container: what may become the default parent.
PtWidget_t *ContainerOf(PtWidget_t *widget) {
    while (widget && !widget->widget_class->is_container)
        widget = widget->parent;
    return widget;
}

bool IsDead(PtWidget_t const *widget) { return !widget || (widget->flags & Pt_DESTROYED); }

} // namespace

PtWidget_t *PtNewWidget(PtWidgetClassRef_t widget_class, PtWidget_t *parent, std::string name) {
    PtCoreState &core = PtCore();
    if (parent == Pt_DEFAULT_PARENT)
        parent = core.default_parent;
    if (!widget_class || (parent && (IsDead(parent) || parent->going)))
        return nullptr;
    auto made = std::make_unique<PtWidget_t>();
    PtWidget_t *widget = made.get();
    widget->widget_class = widget_class;
    widget->name = std::move(name);
    widget->flags = widget_class->initial_flags;
    widget->parent = parent;
    if (PtClassIsA(widget_class, PtTree))
        widget->tree = std::make_unique<PtTreeState>();
    if (parent)
        parent->children.push_back(widget);
    if (StandsAlone(*widget))
        core.top_levels.push_back(widget);
    if (widget_class->is_container)
        core.default_parent = widget;
    core.live[widget] = std::move(made);
    return widget;
}

PtWidget_t *PtCreateWidget(PtWidgetClassRef_t widget_class, PtWidget_t *parent, unsigned n_args,
                           PtArg_t const *args) {
    PtWidget_t *widget = PtNewWidget(widget_class, parent, {});
    if (!widget)
        return nullptr;
    PtSetResources(widget, static_cast<int>(n_args), args);
    PtGiveView(*widget);
    return widget;
}

PtWidget_t *PtSetParentWidget(PtWidget_t *widget) {
    return std::exchange(PtCore().default_parent, IsDead(widget) ? nullptr : ContainerOf(widget));
}

int PtRealizeWidget(PtWidget_t *widget) {
    if (IsDead(widget) || widget->going)
        return -1;
    if (!StandsAlone(*widget) && !(widget->parent->flags & Pt_REALIZED))
        return -1; // comes with its container
    Subtree const subtree(*widget, [](PtWidget_t const &child) {
        return !(child.flags & Pt_DELAY_REALIZE) && !child.widget_class->is_window;
    });
    std::vector<PtWidget_t *> appeared; // children added to a realized container come with its next call, too
    for (PtWidget_t *each : subtree) {
        if (each->flags & Pt_REALIZED)
            continue;
        each->flags |= Pt_REALIZED;
        PtMarkDirty(*each, kDirtyRealize);
        appeared.push_back(each);
    }
    for (PtWidget_t *each : appeared)
        if (each->flags & Pt_REALIZED) // not unrealized or destroyed by a callback before
            PtInvokeCallbacks(*each, Pt_CB_REALIZED, 0, nullptr, nullptr);
    return 0;
}

int PtUnrealizeWidget(PtWidget_t *widget) {
    if (IsDead(widget))
        return -1;
    Subtree const subtree(*widget, [](PtWidget_t const &child) { return (child.flags & Pt_REALIZED) != 0; });
    for (PtWidget_t *each : subtree) {
        if (!(each->flags & Pt_REALIZED) || (each->flags & Pt_DESTROYED))
            continue;
        each->flags &= ~static_cast<unsigned long>(Pt_REALIZED);
        PtMarkDirty(*each, kDirtyRealize);
        PtInvokeCallbacks(*each, Pt_CB_UNREALIZED, 0, nullptr, nullptr);
    }
    return 0;
}

int PtDestroyWidget(PtWidget_t *widget) {
    if (IsDead(widget) || widget->going)
        return -1;
    widget->going = true;
    PtPin const pin(*widget);
    PtUnrealizeWidget(widget);
    Subtree const subtree(*widget, [](PtWidget_t const &) { return true; });
    for (PtWidget_t *each : subtree)
        each->going = true;
    for (PtWidget_t *each : subtree) {
        if (each->flags & Pt_DESTROYED) // by a callback before
            continue;
        each->flags |= Pt_DESTROYED;
        PtInvokeCallbacks(*each, Pt_CB_DESTROYED, 0, nullptr, nullptr);
        Retire(*each);
    }
    return 0;
}

void PtFreeDestroyed() {
    PtCoreState &core = PtCore();
    if (core.gui_callbacks == 0)
        std::erase_if(core.dead, [](auto const &widget) { return widget->callbacks_running == 0; });
}

std::vector<PtWidget_t *> const &PtTopLevels() { return PtCore().top_levels; }
void PtSetDestroyHook(void (*hook)(PtWidget_t &widget)) { PtCore().destroy_hook = hook; }

bool PtIsBlocked(PtWidget_t const &widget) {
    for (PtWidget_t const *each = &widget; each; each = each->parent) {
        if (each->flags & Pt_BLOCKED)
            return true;
        if (each->widget_class->is_window)
            break; // a window of its own: the one it belongs to may be blocked
    }
    return false;
}

unsigned long PtWidgetFlags(PtWidget_t const *widget) {
    return widget ? widget->flags : static_cast<unsigned long>(Pt_DESTROYED);
}
int PtWidgetIsRealized(PtWidget_t const *widget) { return (PtWidgetFlags(widget) & Pt_REALIZED) != 0; }

PtWidget_t *PtContainerGiveFocus(PtWidget_t *widget, PhEvent_t *) {
    if (IsDead(widget) || widget->widget_class->is_window || PtIsBlocked(*widget))
        return nullptr;
    if (PtOnGuiThread() && PtTheDisplay())
        return PtTheDisplay()->GiveFocus(*widget);
    return PtDoAction(*widget, {kPtActFocus, 0, 0, {}}) == 0 ? widget : nullptr;
}

int PtWindowToFront(PtWidget_t *window) {
    return IsDead(window) ? -1 : PtDoAction(*window, {kPtActToFront, 0, 0, {}});
}

int PtMakeModal(PtWidget_t *window, unsigned short, PgColor_t) {
    return IsDead(window) ? -1 : PtDoAction(*window, {kPtActModal, 0, 0, {}});
}

void PtPositionMenu(PtWidget_t *menu, PhEvent_t *event) {
    if (!IsDead(menu) && PtOnGuiThread() && PtTheDisplay())
        PtTheDisplay()->PlaceMenu(*menu, event);
}
