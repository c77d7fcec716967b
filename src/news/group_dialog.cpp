#include "news/group_dialog.h"

#include "base/account.h"
#include "base/fd.h"
#include "names/widgets.h"
#include "net/session_lock.h"
#include "news/answer_copy.h"
#include "news/listing.h"
#include "news/news_files.h"
#include "news/nntp.h"
#include "profiles/dialog_parts.h"
#include "profiles/profile_tree.h"
#include "widgets/activity.h"
#include "widgets/header_list.h"
#include "widgets/open_profile.h"
#include "widgets/toolkit.h"
#include "widgets/tree_walk.h"

#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <memory>
#include <string>
#include <unistd.h>

namespace {

constexpr char kTitle[] = "Subscribe/Unsubscribe Newsgroups";
constexpr char kHint[] = "Click a group, or press Space, to subscribe (S) or unsubscribe.";
constexpr int kRowsBetweenFlushes = 102;
/// No server has as many groups. One that claims more shall not take all memory.
constexpr int kMostRows = 1'000'000;
constexpr unsigned kSpace = ' ';

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

/// Shows all groups of the server as they were stored last. The window is painted now and then meanwhile.
void ShowCompleteList(NewsProfile const &profile) {
    if (!ABW_treeNews)
        return;
    SetWidgetText(ABW_lblDlgNews, "Complete Group List");
    PtFlush();
    EmptyTree();
    SetTitle("Loading Newsgroup List... Please be Patient");
    std::string const listing = ReadRegularFile(ListingPath(profile.name), kLargestAnswer).value_or("");
    ListingReader reader(listing);
    PtTreeItem_t *previous = nullptr;
    int added = 0;
    while (char const *const row = added < kMostRows ? reader.Next() : nullptr)
        if (AddHeaderItem(row, ABW_treeNews, previous) && ++added % kRowsBetweenFlushes == 0)
            PtFlush();
    if (added == kMostRows)
        SetHint("The list is too long: only its first million groups are shown.");
    SetTitle(kTitle);
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

/// Fetches the group list into its file, on a connection of its own. False when there is none to be had.
bool FetchListing(NewsProfile &profile) {
    SessionLock const lock(profile, SessionLock::kCallback);
    Fd const connection(httpget(profile.server));
    if (!connection.Valid()) {
        SetHint("Could not connect to the news server.");
        return false;
    }
    EmptyTree();
    SetHint("Fetching the group list from the server. Please be patient.");
    if (getnewsgrouplisting(connection.Get(), profile, ListingPath(profile.name).c_str(), profile.userName,
                            profile.password) == 1)
        SetHint(kHint);
    else
        SetHint("The news server gave no group list.");
    return true;
}

/// Subscribes to the row's group or unsubscribes it: the mark in the row, and the group's file.
void Toggle(NewsProfile const &profile, PtTreeItem_t *item) {
    std::string row = item->string;
    std::string const group(GroupOfRow(row));
    if (row.empty() || !IsGroupName(group))
        return;
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

/// The next row behind the current one that has the text; the current one comes last. Null when none has it.
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
    if (AccountRef<NewsProfile> const profile(CurrentNewsProfile()); profile)
        ShowSubscribed(*profile);
    PtAddHotkeyHandler(ABW_treeNews, kSpace, 0, Pt_HOTKEY_SYM | Pt_HOTKEY_FOCUSED, nullptr, OnToggleKey);
    PtContainerGiveFocus(ABW_txtNewsFind, nullptr);
    return Pt_CONTINUE;
}

int OnNewsUnrealized(PtWidget_t *, ApInfo_t *, PtCallbackInfo_t *) {
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
    SetHint("Connecting to the news server.");
    BeginActivity();
    if (FetchListing(*profile))
        ShowCompleteList(*profile);
    EndActivity();
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
    if (AccountRef<NewsProfile> const profile(CurrentNewsProfile()); profile)
        ShowCompleteList(*profile);
    return Pt_CONTINUE;
}

int OnShowSubscribedNewsList(PtWidget_t *, ApInfo_t *, PtCallbackInfo_t *) {
    if (AccountRef<NewsProfile> const profile(CurrentNewsProfile()); profile)
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
