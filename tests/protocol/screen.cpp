#include "protocol/screen.h"

#include "base/paths.h"
#include "base/text.h"
#include "core/display.h"
#include "core/lock.h"
#include "fixtures/temp_home.h"
#include "names/widgets.h"
#include "store/folder.h"
#include "widgets/activity.h"
#include "widgets/open_profile.h"
#include "widgets/toolkit.h"

#include <atomic>
#include <chrono>
#include <fstream>
#include <sstream>
#include <sys/stat.h>
#include <thread>
#include <utility>

std::vector<std::string> shownAlerts;

// What the windowing side would bring along.

int PtAlert(PtWidget_t *, PhPoint_t const *, char const *title, PhImage_t const *, char const *message, char const *,
            int, char const **, char const **, int default_button, int, int) {
    shownAlerts.push_back(std::string(title) + "|" + message);
    return default_button;
}

int PtFileSelection(PtWidget_t *, PhPoint_t const *, char const *, char const *, char const *, char const *,
                    char const *, char const *, PtFileSelectionInfo_t *, int) {
    return -1;
}

int PtPrompt(PtWidget_t *, PhPoint_t const *, char const *, PhImage_t const *, char const *, char const *, int,
             char const **, char const **, int, int escape_button, int, char *, char const *, int) {
    return escape_button;
}

struct PtWorkProcId {
    int (*work)(void *data);
    void *data;
};

namespace {

/// What the main loop is to call.
std::vector<PtWorkProcId> procs;

class MemoryDisplay : public PtDisplay {
  public:
    void Wake() override {}
    void Paint() override {
        if (!ABW_lblStatus)
            return;
        PtValue const *const progress = PtValueOf(*ABW_prgStatus, Pt_ARG_GAUGE_VALUE);
        std::string const now =
            std::string(WidgetText(ABW_lblStatus)) + "|" + std::to_string(progress ? progress->scalar : -1);
        if (painted.empty() || painted.back() != now)
            painted.push_back(now);
        PtTakeDirty();
    }
    void CreateView(PtWidget_t &) override {}
    void DestroyView(std::unique_ptr<PtView>) override {}
    bool LoadModule(std::string const &, PtModuleInstance &) override { return false; }
    void BindModule(PtModuleInstance &, std::vector<PtWidget_t *> const &) override {}
    std::vector<std::string> ModuleNames(std::string const &) override { return {}; }
    PhImage_t *ModuleImage(std::string const &, std::string const &) override { return nullptr; }
    void SetStandardOptions(std::string const &, std::string const &, std::string const &, std::string const &,
                            char) override {}
    void PlaceMenu(PtWidget_t &, PhEvent_t const *) override {}
    void PlaceWindow(PtWidget_t &, unsigned short, short, short, PtWidget_t *) override {}
    PtWidget_t *GiveFocus(PtWidget_t &widget) override { return &widget; }
    void ToFront(PtWidget_t &) override {}
    void MakeModal(PtWidget_t &) override {}

    std::vector<std::string> painted;
};

MemoryDisplay display;

void RunProcs() {
    for (PtWorkProcId const &proc : std::exchange(procs, {}))
        while (proc.work(proc.data) == Pt_CONTINUE) {
        }
}

void Make(int number, PtWidgetClassRef_t widgetClass) {
    AbWidgets[number] = PtCreateWidget(widgetClass, ABW_base, 0, nullptr);
}

} // namespace

PtWorkProcId_t *PtAppAddWorkProc(PtAppContext_t, int (*work)(void *data), void *data) {
    procs.push_back({work, data});
    return &procs.back();
}

Screen::Screen() {
    PtLockInit();
    PtSetDisplay(&display);
    display.painted.clear();
    shownAlerts.clear();
    AbWidgets[ABN_base] = PtCreateWidget(PtWindow, Pt_NO_PARENT, 0, nullptr);
    Make(ABN_treeProfiles, PtTree);
    Make(ABN_treeMessageHeaders, PtTree);
    Make(ABN_lblStatus, PtLabel);
    Make(ABN_prgStatus, PtProgress);
    Make(ABN_lblStar, PtLabel);
    Make(ABN_timerAnimation, PtTimer);
    Make(ABN_btnCheckEmail, PtButton);
    Make(ABN_btnDelete, PtButton);
    Make(ABN_mnuFile_Check, PtMenuButton);
    ActivityCount = 0;
    PtLockReleaseGui();
}

Screen::~Screen() {
    PtLockAcquireGui();
    FreeHeaderList();
    for (PtTreeItem_t *item = PtTreeRootItem(ABW_treeProfiles); item;
         item = reinterpret_cast<PtTreeItem_t *>(item->gen.brother))
        Release(static_cast<ServerAccount *>(item->data));
    PtGenTreeFreeAllItems(ABW_treeProfiles);
    currentProfile = AccountRef<ServerAccount>();
    PtDestroyWidget(ABW_base);
    PtFreeDestroyed();
    for (PtWidget_t *&widget : AbWidgets)
        widget = nullptr;
    PtLockReleaseGui();
    ClearTempHome();
}

void Screen::RunCallback(std::function<void()> const &callback) {
    PtLockAcquireGui();
    callback();
    PtLockReleaseGui();
}

bool Screen::PaintUntil(std::function<bool()> const &done) {
    for (auto const end = std::chrono::steady_clock::now() + std::chrono::seconds(60);;) {
        PtLockAcquireGui();
        RunProcs();
        PtLockReleaseGui();
        if (done())
            return true;
        if (std::chrono::steady_clock::now() > end)
            return false;
        std::this_thread::sleep_for(std::chrono::microseconds(100));
    }
}

void Screen::RunWorker(std::function<void()> const &work) {
    std::atomic<bool> over = false;
    std::thread worker([&] {
        work();
        over = true;
    });
    while (!PaintUntil([&] { return over.load(); })) {
    }
    worker.join();
}

std::string Screen::Status() const {
    ToolkitGuard const guard;
    return WidgetText(ABW_lblStatus);
}

std::vector<std::string> const &Screen::Painted() const { return display.painted; }

std::vector<Screen::Row> Screen::Rows() const {
    ToolkitGuard const guard;
    std::vector<Row> rows;
    for (PtTreeItem_t *item = PtTreeRootItem(ABW_treeMessageHeaders); item;
         item = reinterpret_cast<PtTreeItem_t *>(item->gen.brother))
        rows.push_back({item->string, *RowOf(item)});
    return rows;
}

int Screen::Blocked() const {
    ToolkitGuard const guard;
    int count = 0;
    for (PtWidget_t *widget : {ABW_treeProfiles, ABW_treeMessageHeaders, ABW_btnCheckEmail, ABW_mnuFile_Check})
        count += (PtWidgetFlags(widget) & Pt_BLOCKED) ? 1 : 0;
    return count;
}

void Screen::AddProfile(ServerAccount &account, bool open) {
    ToolkitGuard const guard;
    PtTreeItem_t *last = PtTreeRootItem(ABW_treeProfiles);
    while (last && last->gen.brother)
        last = reinterpret_cast<PtTreeItem_t *>(last->gen.brother);
    PtTreeItem_t *const item = AddHeaderItem(account.name, ABW_treeProfiles, last);
    Retain(&account);
    item->data = &account;
    if (open)
        currentProfile = AccountRef<ServerAccount>(&account);
}
