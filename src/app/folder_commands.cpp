#include "app/folder_commands.h"

#include "app/message_view.h"
#include "base/paths.h"
#include "base/text.h"
#include "names/widgets.h"
#include "profiles/profile_tree.h"
#include "store/folder.h"
#include "widgets/header_list.h"
#include "widgets/open_profile.h"
#include "widgets/toolkit.h"
#include "widgets/tree_walk.h"

#include <filesystem>
#include <string>

namespace {

constexpr int kNameWidth = 256;

/// Asks for a folder's name; empty when cancelled.
std::string AskFolderName() {
    char const *buttons[] = {"&OK", "&Cancel"};
    char name[kNameWidth] = "";
    int const answer =
        PtPrompt(ABW_base, nullptr, "New Folder", nullptr, "Enter a name for the new Folder", AlertFont, 2, buttons,
                 nullptr, 1, 2, sizeof name, name, AlertFont, Pt_MODAL | Pt_BLOCK_ALL);
    return answer == 1 ? std::string(FieldText(name, sizeof name)) : "";
}

/// The root item of a profile, looked up again: the tree may have changed while a question was open.
PtTreeItem_t *ItemOf(ServerAccount const *account) {
    PtTreeItem_t *item = PtTreeRootItem(ABW_treeProfiles);
    while (item && item->data != account)
        item = BrotherOf(item);
    return item;
}

void RemoveFolderItem(ServerAccount const *account, std::string const &folder) {
    PtTreeItem_t *const profileItem = ItemOf(account);
    PtTreeItem_t *item = profileItem ? SonOf(profileItem) : nullptr;
    while (item && folder != item->string)
        item = BrotherOf(item);
    if (!item)
        return;
    PtGenTreeRemoveItem(ABW_treeProfiles, &item->gen);
    PtGenTreeFreeItems(&item->gen);
}

} // namespace

int OnAddFolder(PtWidget_t *, ApInfo_t *, PtCallbackInfo_t *) {
    AccountRef<ServerAccount> const profile(ProfileOf(SelectedItem(ABW_treeProfiles)));
    if (!profile || profile->profileKind == kNewsProfile)
        return Pt_CONTINUE;
    std::string const name = AskFolderName();
    if (name.empty())
        return Pt_CONTINUE;
    std::string path = FolderDirectory(profile->name, name);
    path.pop_back();
    if (!IsPlainName(name))
        ShowError(ABW_base, "Error", "A folder cannot have this name.");
    else if (CreateFolder(path.c_str()) != 0)
        ShowError(ABW_base, "Error", "The folder could not be made.");
    else if (PtTreeItem_t *const item = ItemOf(profile.Get()))
        AddFolderItem(ABW_treeProfiles, item, name.c_str());
    return Pt_CONTINUE;
}

int OnDeleteFolder(PtWidget_t *, ApInfo_t *, PtCallbackInfo_t *) {
    PtTreeItem_t const *const item = SelectedItem(ABW_treeProfiles);
    AccountRef<ServerAccount> const profile(ProfileOf(item));
    if (!profile || profile->profileKind == kNewsProfile || !FatherOf(item) || !IsDeletableFolder(item->string))
        return Pt_CONTINUE;
    std::string const folder = item->string;
    if (!IsPlainName(folder) ||
        !AskTwo(ABW_base, "Warning!", "Are you sure you want to \npermanently delete this folder?", "&Cancel",
                "&Delete it"))
        return Pt_CONTINUE;
    std::string path = FolderDirectory(profile->name, folder);
    path.pop_back();
    std::error_code failed;
    std::filesystem::remove_all(path, failed);
    if (failed) {
        ShowError(ABW_base, "Error", "The folder could not be deleted.");
        return Pt_CONTINUE;
    }
    if (currentProfile.Get() == profile.Get() && folder == currentFolder) {
        LeaveMessage();
        FreeHeaderList();
    }
    RemoveFolderItem(profile.Get(), folder);
    return Pt_CONTINUE;
}

bool IsDeletableFolder(std::string_view folder) { return folder != kInbox && folder != kSaved && folder != kOutbox; }
