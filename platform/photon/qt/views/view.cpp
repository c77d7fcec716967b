#include "qt/views/view.h"

#include "qt/loop/events.h"
#include "qt/views/geometry.h"

#include <utility>

namespace {

/// Views by the object they show. GUI thread only.
std::unordered_map<QObject const *, View *> &Table() {
    static auto *const table = new std::unordered_map<QObject const *, View *>;
    return *table;
}

} // namespace

View::View(PtWidget &widget, QObject *native, bool owned)
    : widget_(&widget), native_(native), key_(native), owned_(owned) {
    Table()[native] = this;
}

View::~View() {
    auto const entry = Table().find(key_);
    if (entry != Table().end() && entry->second == this)
        Table().erase(entry);
    if (native_) // its signals while it is destroyed are not wanted
        native_->disconnect(this);
    if (owned_ && native_)
        delete native_.data();
}

View *View::Of(QObject *object) {
    for (; object; object = object->parent()) {
        auto const entry = Table().find(object);
        if (entry != Table().end() && entry->second->native_ == object)
            return entry->second;
    }
    return nullptr;
}

View *View::Of(PtWidget const &widget) { return dynamic_cast<View *>(widget.view.get()); }

void View::Sync(PtWidget &widget) {
    if (!native_)
        return;
    if (widget.dirty & kDirtyResources)
        for (long const resource : widget.changed)
            Apply(widget, resource);
    if (widget.dirty & kDirtyFlags)
        ApplyFlags(widget);
    if (widget.dirty & kDirtyGeometry)
        ApplyGeometry(widget);
    if (widget.dirty & kDirtyRealize)
        ApplyRealize(widget);
}

int View::Act(PtWidget &, PtAction const &) { return -1; }

void View::Vanish() {
    if (QWidget *native = native_widget())
        native->hide();
}

void View::Apply(PtWidget &, long) {}

void View::ApplyFlags(PtWidget &widget) {
    QWidget *native = native_widget();
    if (!native)
        return;
    native->setEnabled(!(widget.flags & Pt_GHOST));
    // A widget that has lost Pt_GETS_FOCUS is stepped over by the Tab key.
    if (widget.widget_class->initial_flags & Pt_GETS_FOCUS) {
        bool const stops = widget.flags & Pt_GETS_FOCUS;
        if (!stops && (native->focusPolicy() & Qt::TabFocus)) {
            stopped_by_ = native->focusPolicy();
            native->setFocusPolicy(stopped_by_ & Qt::ClickFocus ? Qt::ClickFocus : Qt::NoFocus);
        } else if (stops && stopped_by_ != Qt::NoFocus) {
            native->setFocusPolicy(std::exchange(stopped_by_, Qt::NoFocus));
        }
    }
}

void View::ApplyRealize(PtWidget &widget) {
    QWidget *native = native_widget();
    if (!native)
        return;
    // A field that its module file hides stays hidden.
    if (!native->property("keptHidden").toBool())
        native->setVisible(widget.flags & Pt_REALIZED);
}

void View::ApplyGeometry(PtWidget &widget) {
    if (QWidget *native = native_widget())
        PlaceInParent(widget, *native);
}

int View::Call(unsigned long type, unsigned long subtype, void *cbdata) {
    if (!widget_ || PtIsBlocked(*widget_))
        return Pt_CONTINUE;
    // A menu's entries work by their shortcuts while the menu is not on the screen.
    if (!(widget_->flags & Pt_REALIZED) && !PtClassIsA(widget_->widget_class, PtMenuButton))
        return Pt_CONTINUE;
    PhEvent_t event = *CurrentInput();
    return PtInvokeCallbacks(*widget_, type, subtype, event.type ? &event : nullptr, cbdata);
}

std::string const &StoredText(PtWidget &widget, long resource) {
    static std::string const none;
    PtValue const *value = PtValueOf(widget, resource);
    return value ? value->bytes : none;
}

long StoredNumber(PtWidget &widget, long resource) {
    PtValue const *value = PtValueOf(widget, resource);
    return value ? value->scalar : 0;
}

QWidget *NativeWidget(PtWidget const *widget) {
    View *view = widget ? View::Of(*widget) : nullptr;
    return view ? view->native_widget() : nullptr;
}

PtWidget *WindowOf(PtWidget *widget) {
    while (widget && !widget->widget_class->is_window)
        widget = widget->parent;
    return widget;
}
