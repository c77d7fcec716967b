// Picture modules as widget databases.

#include "ap/runtime.h"
#include "core/lock.h"

#include <algorithm>
#include <memory>

struct ApDBase {
    std::string module;
    mutable PtModuleInstance contents; ///< descriptions of the widgets, read for the first of them; never bound
};

namespace {

std::vector<std::unique_ptr<ApDBase>> &Open() {
    static auto *const open = std::make_unique<std::vector<std::unique_ptr<ApDBase>>>().release();
    return *open;
}

/// What the module holds. A program opens its databases at the start, when their widgets are not needed yet.
std::vector<PtModuleWidget> const &Contents(ApDBase_t const &db) {
    if (db.contents.widgets.empty() && PtOnGuiThread() && PtTheDisplay()->LoadModule(db.module, db.contents))
        PtTheDisplay()->DropModule(db.contents);
    return db.contents.widgets;
}

} // namespace

ApDBase_t *ApOpenDBase(ApEventLink_t const *link) {
    if (!link || !PtTheDisplay() || PtTheDisplay()->ModuleNames(link->module).empty())
        return nullptr;
    auto db = std::make_unique<ApDBase>();
    db->module = link->module;
    return Open().emplace_back(std::move(db)).get();
}

PtWidget_t *ApCreateWidget(ApDBase_t const *db, char const *name, int x, int y, int n_args, PtArg_t const *args) {
    if (!db || !name)
        return nullptr;
    auto const &widgets = Contents(*db);
    auto const from =
        std::find_if(widgets.begin(), widgets.end(), [&](PtModuleWidget const &each) { return each.name == name; });
    if (from == widgets.end())
        return nullptr;
    PtWidget_t *widget = PtNewWidget(from->widget_class, Pt_DEFAULT_PARENT, from->name);
    if (!widget)
        return nullptr;
    ApApply(*widget, *from);
    if (x >= 0 && y >= 0) {
        PhPoint_t const position{static_cast<short>(x), static_cast<short>(y)};
        PtSetResource(widget, Pt_ARG_POS, &position, 0);
    }
    PtSetResources(widget, n_args, args);
    PtGiveView(*widget);
    if (PtTheDisplay() && PtOnGuiThread())
        PtTheDisplay()->Dress(*widget, db->module);
    return widget;
}

PhImage_t *ApGetImageRes(ApDBase_t const *db, char const *name) {
    return db && name && PtTheDisplay() ? PtTheDisplay()->ModuleImage(db->module, name) : nullptr;
}
