#include "qt/loop/display.h"

#include "qt/loop/application.h"
#include "qt/modules/module_file.h"
#include "qt/modules/module_loader.h"
#include "qt/views/label.h"
#include "qt/views/menu_view.h"
#include "qt/views/views.h"
#include "qt/views/window_view.h"

#include <algorithm>

QtDisplay &QtDisplay::The() {
    static auto *const display = new QtDisplay; // never destroyed: workers may still run while the process exits
    return *display;
}

void QtDisplay::Wake() {
    if (TheApplication())
        TheApplication()->Wake();
}

void SyncViews() {
    for (PtWidget *widget : PtTakeDirty())
        PtSyncWidget(*widget);
    QtDisplay::The().Vanish();
}

void BuryViews() { QtDisplay::The().Bury(); }

void QtDisplay::Paint() {
    SyncViews();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::LayoutRequest);
    for (QWidget *window : QApplication::topLevelWidgets())
        if (window->isVisible()) {
            QEvent update(QEvent::UpdateRequest);
            QCoreApplication::sendEvent(window, &update);
        }
}

namespace {

/// The label that names a field, null for none.
Label *LabelOf(QWidget const &field) {
    QWidget const *const parent = field.parentWidget();
    if (parent)
        for (QObject *child : parent->children())
            if (auto *label = dynamic_cast<Label *>(child); label && label->buddy() == &field)
                return label;
    return nullptr;
}

/// A field made right after a label is the one that the label names: its key leads there and a screen reader reads
/// it out.
void LeadToField(PtWidget_t &widget) {
    if (!widget.parent || !(PtClassIsA(widget.widget_class, PtText) || PtClassIsA(widget.widget_class, PtComboBox)))
        return;
    auto const &children = widget.parent->children;
    auto const here = std::find(children.begin(), children.end(), &widget);
    if (here == children.begin() || here == children.end() || (*(here - 1))->widget_class != PtLabel)
        return;
    PtWidget_t &before = **(here - 1);
    auto *const label = dynamic_cast<Label *>(NativeWidget(&before));
    QWidget *const field = NativeWidget(&widget);
    if (!label || !field || label->buddy())
        return;
    label->setBuddy(field);
    before.changed.push_back(Pt_ARG_ACCEL_KEY); // its text is a label's with a key from here on
    PtMarkDirty(before, kDirtyResources);
}

} // namespace

void QtDisplay::CreateView(PtWidget_t &widget) {
    if (widget.view)
        return;
    QObject *native = NativeFor(widget);
    if (!native)
        return;
    if (!widget.name.empty())
        native->setObjectName(QString::fromStdString(widget.name));
    widget.view = MakeView(widget, native, true);
    LeadToField(widget);
}

void QtDisplay::DestroyView(std::unique_ptr<PtView> view) {
    if (!view)
        return;
    if (auto *ours = dynamic_cast<View *>(view.get()))
        ours->Detach();
    graveyard_.push_back({std::move(view), false});
    Wake();
}

void QtDisplay::Vanish() {
    // Windows last: they were destroyed last, and hiding them first spares their contents' repaint.
    for (auto entry = graveyard_.rbegin(); entry != graveyard_.rend() && !entry->vanished; ++entry) {
        entry->vanished = true;
        if (auto *view = dynamic_cast<View *>(entry->view.get()))
            view->Vanish();
    }
}

void QtDisplay::Bury() {
    std::vector<Buried> buried;
    buried.swap(graveyard_);
    // A window was destroyed after its contents and takes them with it: deleted first, it spares them each their own.
    while (!buried.empty())
        buried.pop_back();
}

bool QtDisplay::LoadModule(std::string const &module, PtModuleInstance &instance) {
    return ::LoadModule(module, instance);
}

void QtDisplay::BindModule(PtModuleInstance &instance, std::vector<PtWidget_t *> const &widgets) {
    ::BindModule(instance, widgets);
}

void QtDisplay::DropModule(PtModuleInstance &instance) {
    delete static_cast<QWidget *>(instance.native);
    instance.native = nullptr;
}

std::vector<std::string> QtDisplay::ModuleNames(std::string const &module) { return ReadModuleFile(module).names; }

PhImage_t *QtDisplay::ModuleImage(std::string const &module, std::string const &widget) {
    auto &image = images_[module + '/' + widget];
    if (!image) {
        ModuleFile const file = ReadModuleFile(module);
        auto const found = file.pictures.find(widget);
        if (found == file.pictures.end())
            return nullptr;
        image = std::make_unique<PhImage>();
        image->path = found->second;
    }
    return image.get();
}

void QtDisplay::Dress(PtWidget_t &widget, std::string const &module) {
    QPointer<QWidget> &pattern = patterns_[module];
    if (PtModuleInstance instance; !pattern && ::LoadModule(module, instance))
        pattern = static_cast<QWidget *>(instance.native);
    QWidget *const native = NativeWidget(&widget);
    QWidget *const from =
        pattern && native ? pattern->findChild<QWidget *>(QString::fromStdString(widget.name)) : nullptr;
    if (!from)
        return;
    for (char const *property : {"icon", "iconSize", "toolTip", "accessibleName", "alignment", "focusPolicy",
                                 "tabChangesFocus", "textVisible", "autoDefault", "rootIsDecorated"})
        if (QVariant const value = from->property(property); value.isValid())
            native->setProperty(property, value);
    if (LabelOf(*native)) // what stands before the field says more
        native->setAccessibleName(QString());
    QString const text = from->property("text").toString();
    qsizetype const mark = text.indexOf(QLatin1Char('&'));
    if (mark >= 0 && mark + 1 < text.size() && StoredText(widget, Pt_ARG_ACCEL_KEY).empty())
        PtSetResource(&widget, Pt_ARG_ACCEL_KEY, text.mid(mark + 1, 1).toUtf8().constData(), 0);
}

void QtDisplay::SetStandardOptions(std::string const &x, std::string const &y, std::string const &w,
                                   std::string const &h, char state) {
    options_ = {x, y, w, h, state};
}

StandardOptions QtDisplay::TakeStandardOptions() { return std::exchange(options_, {}); }

void QtDisplay::PlaceMenu(PtWidget_t &menu, PhEvent_t const *event) {
    if (auto *view = dynamic_cast<MenuView *>(menu.view.get()))
        view->Place(event);
}

void QtDisplay::PlaceWindow(PtWidget_t &window, unsigned short location, short x, short y, PtWidget_t *relative) {
    if (auto *view = dynamic_cast<WindowView *>(window.view.get()))
        view->Place(location, QPoint(x, y), relative);
}

PtWidget_t *QtDisplay::GiveFocus(PtWidget_t &widget) {
    QWidget *native = NativeWidget(&widget);
    if (!native || PtIsBlocked(widget) || widget.widget_class->is_window)
        return nullptr;
    native->setFocus(Qt::OtherFocusReason);
    return &widget;
}

void QtDisplay::ToFront(PtWidget_t &window) {
    if (QWidget *native = NativeWidget(&window)) {
        if (native->isMinimized())
            native->showNormal();
        native->raise();
        native->activateWindow();
    }
}

void QtDisplay::MakeModal(PtWidget_t &window) {
    if (auto *view = dynamic_cast<WindowView *>(window.view.get()))
        view->MakeModal();
}
