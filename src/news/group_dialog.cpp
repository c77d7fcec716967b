#include "news/group_dialog.h"

#include "base/account.h"
#include "base/fd.h"
#include "base/paths.h"
#include "names/widgets.h"
#include "net/session_lock.h"
#include "news/alerts.h"
#include "news/session/answer_copy.h"
#include "news/session/connection.h"
#include "news/session/group_list.h"
#include "news/session/listing.h"
#include "news/session/news_files.h"
#include "profiles/dialog_parts.h"
#include "profiles/profile_tree.h"
#include "widgets/activity.h"
#include "widgets/header_list.h"
#include "widgets/open_profile.h"
#include "widgets/operation.h"
#include "widgets/toolkit.h"
#include "widgets/tree_walk.h"

#include <chrono>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <unistd.h>

namespace {

constexpr char kTitle[] = "Subscribe/Unsubscribe Newsgroups";
constexpr char kHint[] = "Click a group, or press Space, to subscribe (S) or unsubscribe.";
constexpr int kRowsBetweenFlushes = 102;
/// No server has as many groups. One that claims more must not take all memory.
constexpr int kMostRows = 1'000'000;
constexpr unsigned kSpace = ' ';
/// How long a worker that adds rows keeps the library at a time.
constexpr auto kTurn = std::chrono::milliseconds(40);

/// What was chosen last for the list, and the last refresh. Both are counted up when the dialog closes, so that what
/// a worker brings later is not shown. Under the library lock.
unsigned lastList = 0, lastRefresh = 0;

void SetTitle(char const *title) {
    if (ABW_dlgNews)
        PtSetResource(ABW_dlgNews, Pt_ARG_WINDOW_TITLE, title, 0);
    PtFlush();
}

void SetHint(char const *text) {
    SetWidgetText(ABW_lblNewsHint, text);
    PtFlush();
}

void EmptyTree() {
    if (ABW_treeNews)
        PtGenTreeFreeAllItems(ABW_treeNews);
}

/// Shows all groups of a stored list. `pause` comes now and then and says whether to go on.
void ShowCompleteList(std::string const &listing, std::function<bool()> const &pause) {
    if (!ABW_treeNews)
        return;
    SetWidgetText(ABW_lblDlgNews, "Complete Group List");
    PtFlush();
    EmptyTree();
    SetTitle("Loading Newsgroup List... Please be Patient");
    ListingReader reader(listing);
    PtTreeItem_t *previous = nullptr;
    int added = 0;
    while (char const *const row = added < kMostRows ? reader.Next() : nullptr)
        if (AddHeaderItem(row, ABW_treeNews, previous) && ++added % kRowsBetweenFlushes == 0 && !pause())
            return;
    if (added == kMostRows)
        SetHint("The list is too long: only its first million groups are shown.");
    SetTitle(kTitle);
}

std::string StoredListing(NewsProfile const &profile) {
    return ReadRegularFile(ListingPath(profile.name), kLargestAnswer).value_or("");
}

void ShowSubscribed(NewsProfile const &profile) {
    SetWidgetText(ABW_lblDlgNews, "Subscribed Groups");
    EmptyTree();
    std::unique_ptr<DIR, int (*)(DIR *)> const directory(opendir(GroupsDirectory(profile.name).c_str()), closedir);
    PtTreeItem_t *previous = nullptr;
    while (dirent const *const entry = directory && ABW_treeNews ? readdir(directory.get()) : nullptr)
        if (IsGroupName(entry->d_name))
            AddHeaderItem((std::string("S\t") + entry->d_name).c_str(), ABW_treeNews, previous);
}

/// Fetching the group list into its file, on a connection of its own, and showing it. A worker runs it.
class Refresh {
  public:
    Refresh(NewsProfile &profile, unsigned list, unsigned refresh)
        : profile_(profile), list_(list), refresh_(refresh) {}
    void Run(Stop const &stop);

  private:
    NewsOutcome Fetch(Stop const &stop);
    void ShowEnd(NewsOutcome const &end, std::string const &listing);
    void ShowList(std::string const &listing);

    NewsProfile &profile_;
    unsigned list_, refresh_;
    bool connected_ = false;
    std::optional<ToolkitGuard> library_;
};

NewsOutcome Refresh::Fetch(Stop const &stop) {
    SessionLock const lock(profile_, stop);
    if (!lock.Held())
        return {Stopped()};
    OpenedStream const opened = OpenNewsStream(profile_.server, stop);
    if (!opened.outcome)
        return {opened.outcome};
    connected_ = true;
    library_.emplace();
    if (list_ == lastList)
        EmptyTree();
    if (refresh_ == lastRefresh)
        SetHint("Fetching the group list from the server. Please be patient.");
    library_.reset();
    opened.stream->StopWhen(stop);
    return FetchGroupList(*opened.stream, ListingPath(profile_.name).c_str(), {profile_.userName, profile_.password});
}

char const *HintOf(NewsOutcome const &end, bool connected, bool any) {
    if (end)
        return kHint;
    if (end.ending == Ending::kStopped)
        return "Stopped.";
    if (!connected)
        return "Could not connect to the news server.";
    if (end.ending == Ending::kLost && any)
        return "The connection was lost: the list may not be whole.";
    return "The news server gave no group list.";
}

void Refresh::ShowEnd(NewsOutcome const &end, std::string const &listing) {
    if (refresh_ == lastRefresh)
        ShowAlerts(end); // the user can choose something else before it closes
    if (refresh_ == lastRefresh) {
        SetHint(HintOf(end, connected_, !listing.empty()));
        if (!end && end.ending != Ending::kStopped)
            SetStatus(end.text);
    }
    if (connected_ && list_ == lastList)
        ShowList(listing);
}

/// The main thread has its turns in between, and what the user chooses in them ends this.
void Refresh::ShowList(std::string const &listing) {
    auto turn = std::chrono::steady_clock::now();
    ShowCompleteList(listing, [&] {
        PtFlush();
        if (std::chrono::steady_clock::now() - turn > kTurn) {
            library_.reset();
            library_.emplace();
            turn = std::chrono::steady_clock::now();
        }
        return list_ == lastList;
    });
}

void Refresh::Run(Stop const &stop) {
    NewsOutcome const end = Fetch(stop);
    std::string const listing = connected_ ? StoredListing(profile_) : "";
    library_.emplace();
    ShowEnd(end, listing);
    EndActivity();
    library_.reset();
}

/// Subscribes to the row's group or unsubscribes it: the mark in the row, and the group's file.
void Toggle(NewsProfile const &profile, PtTreeItem_t *item) {
    std::string row = item->string;
    std::string const group(GroupOfRow(row));
    if (row.empty())
        return;
    if (!IsGroupName(group))
        return SetHint("This group cannot be subscribed to: its name is too long.");
    bool const subscribe = row[0] == ' ';
    row[0] = subscribe ? 'S' : ' ';
    PtTreeModifyItemString(ABW_treeNews, item, row.c_str());
    PtGenTreeDamageItem(ABW_treeNews, &item->gen);
    std::string const path = GroupsDirectory(profile.name) + group;
    if (subscribe)
        Fd(open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC | O_NOFOLLOW, 0600));
    else
        unlink(path.c_str());
}

int OnToggleKey(PtWidget_t *tree, void *, PtCallbackInfo_t *) {
    AccountRef<NewsProfile> const profile(CurrentNewsProfile());
    if (PtTreeItem_t *const item = PtTreeGetCurrent(tree); item && profile) {
        PtGenTreeSelect(tree, &item->gen);
        Toggle(*profile, item);
    }
    return Pt_CONTINUE;
}

/// The next row after the current one that has the text; the current one comes last. Null when none has it.
PtTreeItem_t *FindRow(char const *text) {
    PtTreeItem_t *const root = PtTreeRootItem(ABW_treeNews);
    PtTreeItem_t *item = PtTreeGetCurrent(ABW_treeNews);
    if (!item)
        item = root;
    for (int wraps = 0; item;) {
        item = BrotherOf(item);
        if (!item && ++wraps == 2)
            return nullptr;
        if (!item)
            item = root;
        if (strstr(item->string, text))
            return item;
    }
    return nullptr;
}

void BlockMainWindow(bool blocked) {
    for (PtWidget_t *widget : {ABW_treeProfiles, ABW_btnCheckEmail, ABW_mnuFile_Check})
        SetBlockedBy(kGroupDialogBlocks, widget, blocked);
}

} // namespace

int OnNewsRealized(PtWidget_t *, ApInfo_t *, PtCallbackInfo_t *) {
    BlockMainWindow(true);
    if (AccountRef<NewsProfile> const profile(CurrentNewsProfile()); profile && FindConfigRoot())
        ShowSubscribed(*profile);
    PtAddHotkeyHandler(ABW_treeNews, kSpace, 0, Pt_HOTKEY_SYM | Pt_HOTKEY_FOCUSED, nullptr, OnToggleKey);
    PtContainerGiveFocus(ABW_txtNewsFind, nullptr);
    return Pt_CONTINUE;
}

int OnNewsUnrealized(PtWidget_t *, ApInfo_t *, PtCallbackInfo_t *) {
    lastList++;
    lastRefresh++;
    StopOperation(OperationKind::kListing);
    BlockMainWindow(false);
    // At the end of the program the tree goes as well.
    if (PtWidgetIsRealized(ABW_treeProfiles))
        RefreshMainWindow();
    else
        ForgetOpenProfile();
    return Pt_CONTINUE;
}

int OnGetNewsListing(PtWidget_t *, ApInfo_t *, PtCallbackInfo_t *) {
    AccountRef<NewsProfile> const profile(CurrentNewsProfile());
    if (!profile)
        return Pt_CONTINUE;
    if (!FindConfigRoot())
        return -1;
    SetHint("Connecting to the news server.");
    BeginActivity();
    bool const started = StartOperation(OperationKind::kListing,
                                        [profile, list = ++lastList, refresh = ++lastRefresh](Stop const &stop) {
                                            Refresh(*profile, list, refresh).Run(stop);
                                        });
    if (started)
        return Pt_CONTINUE;
    EndActivity();
    SetHint("The group list cannot be fetched: too much runs already.");
    return Pt_CONTINUE;
}

int OnNewsFind(PtWidget_t *, ApInfo_t *, PtCallbackInfo_t *) {
    std::string const text = WidgetText(ABW_txtNewsFind);
    PtTreeItem_t *const item = text.empty() ? nullptr : FindRow(text.c_str());
    if (!item)
        return Pt_CONTINUE;
    PtGenTreeSelect(ABW_treeNews, &item->gen);
    PtGenTreeGoto(ABW_treeNews, &item->gen);
    return Pt_CONTINUE;
}

int OnShowNewsList(PtWidget_t *, ApInfo_t *, PtCallbackInfo_t *) {
    AccountRef<NewsProfile> const profile(CurrentNewsProfile());
    if (!profile)
        return Pt_CONTINUE;
    if (!FindConfigRoot())
        return -1;
    lastList++;
    ShowCompleteList(StoredListing(*profile), [] {
        PtFlush();
        return true;
    });
    return Pt_CONTINUE;
}

int OnShowSubscribedNewsList(PtWidget_t *, ApInfo_t *, PtCallbackInfo_t *) {
    AccountRef<NewsProfile> const profile(CurrentNewsProfile());
    if (!profile)
        return Pt_CONTINUE;
    if (!FindConfigRoot())
        return -1;
    lastList++;
    ShowSubscribed(*profile);
    return Pt_CONTINUE;
}

int OnNewsGroupSelected(PtWidget_t *, ApInfo_t *, PtCallbackInfo_t *cbinfo) {
    auto const *const selection = static_cast<PtTreeCallback_t *>(cbinfo->cbdata);
    bool const released = cbinfo->event && cbinfo->event->type == Ph_EV_BUT_RELEASE;
    AccountRef<NewsProfile> const profile(CurrentNewsProfile());
    if (released && selection->sel_mode == Pt_BROWSE_MODE && selection->item && profile)
        Toggle(*profile, selection->item);
    return Pt_CONTINUE;
}
