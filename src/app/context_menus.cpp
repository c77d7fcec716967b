#include "app/context_menus.h"

#include "app/folder_commands.h"
#include "app/message_commands.h"
#include "base/paths.h"
#include "names/widgets.h"
#include "profiles/profile_tree.h"
#include "widgets/open_profile.h"
#include "widgets/toolkit.h"
#include "widgets/tree_walk.h"

#include <string>

namespace {

void Ghost(PtWidget_t *widget, bool ghost) {
    if (widget)
        PtSetResource(widget, Pt_ARG_FLAGS, ghost ? Pt_TRUE : Pt_FALSE, Pt_BLOCKED | Pt_GHOST);
}

int OnFolderChosen(PtWidget_t *entry, void *move, PtCallbackInfo_t *) {
    std::string const folder = WidgetText(entry);
    FileSelectedMessage(folder.c_str(), move != nullptr);
    return Pt_CONTINUE;
}

void AddEntry(PtWidget_t *menu, std::string const &folder, bool move) {
    PtArg_t text;
    PtSetArg(&text, Pt_ARG_TEXT_STRING, folder.c_str(), 0);
    PtWidget_t *const entry = PtCreateWidget(PtMenuButton, menu, 1, &text);
    static char isMove;
    PtAddCallback(entry, Pt_CB_ACTIVATE, OnFolderChosen, move ? &isMove : nullptr);
}

/// Hangs a menu of folders below the entry `button`.
void AddFolderMenu(PtWidget_t *button, MailProfile const *profile, bool move) {
    Ghost(button, !profile);
    if (!profile || !button)
        return;
    PtArg_t type;
    PtSetArg(&type, Pt_ARG_BUTTON_TYPE, Pt_MENU_RIGHT, 0);
    PtSetResources(button, 1, &type);
    PtWidget_t *const menu = PtCreateWidget(PtMenu, button, 0, nullptr);
    AddEntry(menu, kInbox, move);
    AddEntry(menu, kOutbox, move);
    for (std::string const &folder : OtherFolders(profile->name))
        AddEntry(menu, folder, move);
}

} // namespace

int OnProfileTreeMenu(PtWidget_t *tree, ApInfo_t *, PtCallbackInfo_t *cbinfo) {
    PtTreeItem_t const *const item = SelectedItem(tree);
    ServerAccount const *const profile = ProfileOf(item);
    if (!profile)
        return Pt_CONTINUE;
    if (!FatherOf(item))
        ApCreateModule(&ABM_mnuProfile, tree, cbinfo);
    else if (profile->profileKind != kNewsProfile)
        ApCreateModule(&ABM_mnuFolder, tree, cbinfo);
    return Pt_CONTINUE;
}

int OnHeaderListMenu(PtWidget_t *tree, ApInfo_t *, PtCallbackInfo_t *cbinfo) {
    if (SelectedItem(tree))
        ApCreateModule(&ABM_mnuHeaders, tree, cbinfo);
    return Pt_CONTINUE;
}

int OnAttachmentListMenu(PtWidget_t *tree, ApInfo_t *, PtCallbackInfo_t *cbinfo) {
    if (SelectedItem(tree))
        ApCreateModule(&ABM_mnuAttachments, tree, cbinfo);
    return Pt_CONTINUE;
}

int SetUpProfileMenu(PtWidget_t *, ApInfo_t *, PtCallbackInfo_t *) {
    ServerAccount const *const profile = ProfileOf(SelectedItem(ABW_treeProfiles));
    bool const news = profile && profile->profileKind == kNewsProfile;
    Ghost(ABW_mnuProfile_AddFolder, !profile || news);
    Ghost(ABW_mnuProfile_Subscribe, !news);
    return Pt_CONTINUE;
}

int SetUpFolderMenu(PtWidget_t *, ApInfo_t *, PtCallbackInfo_t *) {
    PtTreeItem_t const *const item = SelectedItem(ABW_treeProfiles);
    Ghost(ABW_mnuFolder_Delete, !item || !IsDeletableFolder(item->string));
    return Pt_CONTINUE;
}

int SetUpHeadersMenu(PtWidget_t *, ApInfo_t *, PtCallbackInfo_t *) {
    MailProfile const *const profile = CurrentMailProfile();
    Ghost(ABW_mnuHeaders_Delete, !profile);
    AddFolderMenu(ABW_mnuHeaders_CopyTo, profile, false);
    AddFolderMenu(ABW_mnuHeaders_MoveTo, profile, true);
    return Pt_CONTINUE;
}
