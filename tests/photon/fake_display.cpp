#include "photon/fake_display.h"

FakeDisplay &Fake() {
    static FakeDisplay display;
    return display;
}

void FakeView::Sync(PtWidget_t &widget) {
    if (PtFindResource(widget.widget_class, Pt_ARG_TEXT_STRING))
        text = PtValueOf(widget, Pt_ARG_TEXT_STRING)->bytes;
    changed = widget.changed;
    if (widget.tree) {
        rows = widget.tree->root_count;
        appended = widget.tree->appended;
    }
}

int FakeView::Act(PtWidget_t &, PtAction const &action) {
    acted.push_back(action);
    return action.text == "refused" ? -1 : 0;
}

void FakeDisplay::Wake() {
    std::lock_guard const guard(mutex_);
    woken_ = true;
    wake_.notify_one();
}

void FakeDisplay::Post(std::function<void()> work) {
    std::lock_guard const guard(mutex_);
    posted_.push_back(std::move(work));
    wake_.notify_one();
}

void FakeDisplay::Paint() {
    paints++;
    for (PtWidget_t *widget : PtTakeDirty())
        PtSyncWidget(*widget);
}

void FakeDisplay::Deliver() {
    std::deque<std::function<void()>> work;
    {
        std::lock_guard const guard(mutex_);
        work.swap(posted_);
        woken_ = false;
    }
    PtFreeDestroyed();
    buried_.clear();
    Paint();
    for (auto const &each : work)
        each();
}

void FakeDisplay::Turn() {
    PtLockPause const pause;
    {
        std::unique_lock guard(mutex_);
        wake_.wait_for(guard, std::chrono::milliseconds(20), [&] { return woken_ || !posted_.empty(); });
    }
    PtLockAcquireGui();
    Deliver();
    PtLockReleaseGui();
}

void FakeDisplay::RunUntil(std::function<bool()> const &done) {
    while (!done())
        Turn();
}

void FakeDisplay::CreateView(PtWidget_t &widget) { widget.view = std::make_unique<FakeView>(); }
void FakeDisplay::DestroyView(std::unique_ptr<PtView> view) { buried_.push_back(std::move(view)); }

bool FakeDisplay::LoadModule(std::string const &module, PtModuleInstance &instance) {
    instance.widgets = modules[module];
    return !instance.widgets.empty();
}

void FakeDisplay::BindModule(PtModuleInstance &, std::vector<PtWidget_t *> const &widgets) {
    for (PtWidget_t *widget : widgets)
        CreateView(*widget);
}

std::vector<std::string> FakeDisplay::ModuleNames(std::string const &module) {
    std::vector<std::string> names;
    for (PtModuleWidget const &widget : modules[module])
        names.push_back(widget.name);
    return names;
}

void FakeDisplay::SetStandardOptions(std::string const &x, std::string const &y, std::string const &w,
                                     std::string const &h, char state) {
    options = {x, y, w, h, std::string(state ? 1 : 0, state)};
}

void FakeDisplay::PlaceMenu(PtWidget_t &, PhEvent_t const *event) { menu_event = event; }

int PtInit(char const *) {
    if (!PtTheDisplay()) {
        PtSetDisplay(&Fake());
        PtLockInit();
    }
    return 0;
}

int PtProcessEvent() {
    Fake().Turn();
    return 0;
}

void CleanUp() {
    while (!PtTopLevels().empty())
        PtDestroyWidget(PtTopLevels().back());
    PtSetParentWidget(nullptr);
    PtFreeDestroyed();
}
