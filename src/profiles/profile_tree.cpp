#include "profiles/profile_tree.h"

#include "base/paths.h"
#include "base/text.h"
#include "names/widgets.h"
#include "profiles/mail_profile_file.h"
#include "profiles/news_profile_file.h"
#include "widgets/close_later.h"
#include "widgets/header_list.h"
#include "widgets/open_profile.h"
#include "widgets/operation.h"
#include "widgets/pictures.h"
#include "widgets/tree_walk.h"

#include <cstdlib>
#include <dirent.h>
#include <functional>
#include <memory>
#include <sys/stat.h>

namespace {

using Directory = std::unique_ptr<DIR, int (*)(DIR *)>;

Directory OpenDirectory(std::string const &path) { return {opendir(path.c_str()), closedir}; }

/// The names in a directory that may become part of a path, in its order; none when it cannot be opened.
std::vector<std::string> NamesIn(DIR *directory) {
    std::vector<std::string> names;
    while (dirent const *entry = directory ? readdir(directory) : nullptr)
        if (IsPlainName(entry->d_name))
            names.emplace_back(entry->d_name);
    return names;
}

/// True when `directory`<name> is a profile's directory with its record file beside it.
bool IsProfile(std::string const &directory, std::string const &name) {
    struct stat status {};
    std::string const path = directory + name;
    return name[0] != '.' && lstat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode) &&
           stat((path + ".dat").c_str(), &status) == 0;
}

PtTreeItem_t *LastRoot(PtWidget_t *tree) {
    PtTreeItem_t *item = PtTreeRootItem(tree);
    while (item && item->gen.brother)
        item = BrotherOf(item);
    return item;
}

void AddChild(PtWidget_t *tree, PtTreeItem_t *parent, PtTreeItem_t *&previous, char const *text, RowPicture picture) {
    PtTreeItem_t *const item = PtTreeAllocItem(tree, text, picture, picture);
    if (!item)
        return;
    if (previous)
        PtTreeAddAfter(tree, item, previous);
    else
        PtTreeAddFirst(tree, item, parent);
    previous = item;
}

/// Adds a profile's item; its data becomes the tree's reference to `account`.
PtTreeItem_t *AddProfileItem(PtWidget_t *tree, ServerAccount &account, PtTreeItem_t *&previous) {
    PtTreeItem_t *const item = AddHeaderItem(account.name, tree, previous);
    if (item) {
        Retain(&account);
        item->data = &account;
        SetRowPicture(item, account.profileKind == kNewsProfile ? kNewsPicture : kProfilePicture);
    }
    return item;
}

void AddMailFolders(PtWidget_t *tree, PtTreeItem_t *profileItem, char const *profile) {
    PtTreeItem_t *previous = nullptr;
    AddChild(tree, profileItem, previous, kInbox, kInboxPicture);
    AddChild(tree, profileItem, previous, kOutbox, kOutboxPicture);
    for (std::string const &folder : OtherFolders(profile))
        AddChild(tree, profileItem, previous, folder.c_str(), kFolderPicture);
    PtGenTreeExpand(tree, &profileItem->gen, nullptr);
}

void AddGroups(PtWidget_t *tree, PtTreeItem_t *profileItem, std::string const &directory) {
    PtTreeItem_t *previous = nullptr;
    for (std::string const &group : NamesIn(OpenDirectory(directory).get()))
        if (IsGroupName(group))
            AddChild(tree, profileItem, previous, group.c_str(), kNewsPicture);
    PtGenTreeExpand(tree, &profileItem->gen, nullptr);
}

/// Calls `add` with the name of each profile whose record lies in `directory`, which is made when it cannot be
/// opened. Returns 1, or -1 when it was not there.
int EachProfile(std::string const &directory, std::function<void(std::string const &)> const &add) {
    Directory const opened = OpenDirectory(directory);
    if (!opened) {
        mkdir(directory.c_str(), 0700); // kept: an empty tree, this once
        return -1;
    }
    for (std::string const &name : NamesIn(opened.get()))
        if (IsProfile(directory, name))
            add(name);
    return 1;
}

} // namespace

int LoadMailProfiles(PtWidget_t *tree, int mode) {
    std::optional<std::string> const root = FindConfigRoot();
    if (!root)
        return -1;
    PtTreeItem_t *previous = nullptr;
    return EachProfile(*root, [&](std::string const &name) {
        AccountRef<MailProfile> const profile(new MailProfile);
        ReadMailProfileFile(*root + name + ".dat", name.c_str(), *profile);
        // A record that may not be read still shows its folders.
        CopyText(profile->name, name);
        PtTreeItem_t *const item = AddProfileItem(tree, *profile, previous);
        if (item && mode == kWithFolders)
            AddMailFolders(tree, item, profile->name);
    });
}

int LoadNewsProfiles(PtWidget_t *tree, int mode) {
    std::optional<std::string> const config = FindConfigRoot();
    if (!config)
        return -1;
    std::string const root = *config + "news/";
    PtTreeItem_t *previous = LastRoot(tree);
    return EachProfile(root, [&](std::string const &name) {
        AccountRef<NewsProfile> const profile(new NewsProfile);
        ReadNewsProfile(name.c_str(), *profile);
        PtTreeItem_t *const item = AddProfileItem(tree, *profile, previous);
        if (item && mode == kWithFolders)
            AddGroups(tree, item, root + name + "/groups");
    });
}

void FreeProfileTree(PtWidget_t *tree) {
    if (!tree)
        return;
    for (PtTreeItem_t *item = PtTreeRootItem(tree); item; item = BrotherOf(item))
        if (auto *const account = static_cast<ServerAccount *>(item->data)) {
            item->data = nullptr;
            Release(account);
        }
    PtGenTreeFreeAllItems(tree);
}

void ReloadProfileTree() {
    FreeProfileTree(ABW_treeProfiles);
    LoadMailProfiles(ABW_treeProfiles, kWithFolders);
    LoadNewsProfiles(ABW_treeProfiles, kWithFolders);
}

void ForgetOpenProfile() {
    if (currentProfile) {
        StopOperation(OperationKind::kGroup);
        CloseWhenFree(*currentProfile);
    }
    currentProfile = {};
}

ServerAccount *ProfileOf(PtTreeItem_t const *item) {
    while (item && item->gen.father)
        item = FatherOf(item);
    return item ? static_cast<ServerAccount *>(item->data) : nullptr;
}

std::vector<std::string> OtherFolders(char const *profile) {
    std::string const root = ConfigRoot() + profile + "/";
    std::vector<std::string> folders;
    for (std::string &name : NamesIn(OpenDirectory(root).get())) {
        struct stat status {};
        if (name != kInbox && name != kOutbox && stat((root + name).c_str(), &status) == 0 && S_ISDIR(status.st_mode))
            folders.push_back(std::move(name));
    }
    return folders;
}

void AddFolderItem(PtWidget_t *tree, PtTreeItem_t *profileItem, char const *folder) {
    PtTreeItem_t *previous = SonOf(profileItem);
    while (previous && previous->gen.brother)
        previous = BrotherOf(previous);
    AddChild(tree, profileItem, previous, folder, kFolderPicture);
    PtGenTreeExpand(tree, &profileItem->gen, nullptr);
}
