#include "profiles/news_accounts_dialog.h"

#include "base/paths.h"
#include "profiles/dialog_parts.h"
#include "profiles/news_profile_file.h"
#include "profiles/profile_tree.h"
#include "widgets/header_list.h"
#include "widgets/pictures.h"
#include "widgets/toolkit.h"
#include "widgets/tree_walk.h"

#include <sys/stat.h>

namespace {

constexpr AccountDialog kDialog{.window = ABW_dlgNewsAccounts,
                                .list = ABW_treeNewsAccounts_Accounts,
                                .newButton = ABW_btnNewNewsAccount,
                                .editButton = ABW_btnEditNewsAccount,
                                .deleteButton = ABW_btnDeleteNewsAccount,
                                .closeButton = ABW_btnCloseNewsAccounts,
                                .pane = ABW_paneNewsAccountData,
                                .title = ABW_lblNewsAccountsTitle,
                                .name = ABW_txtNewsAccount_AccountName,
                                .userName = ABW_txtNewsAccount_Username,
                                .password = ABW_txtNewsAccount_Password,
                                .hiddenPassword = ABW_HiddenNewsPassword,
                                .fullName = ABW_txtNewsAccount_Fullname,
                                .emailAddress = ABW_txtNewsAccount_Email,
                                .signatureFile = ABW_txtNewsAccount_Signature,
                                .folder = "news/",
                                .load = LoadNewsProfiles};

void LeaveNewsEditMode() {
    LeaveEditMode(kDialog);
    SetWidgetText(ABW_txtNewsAccount_NEWSServer, "");
}

/// Says why the profile may not be saved as it is. False when it may not.
bool MayBeSaved(NewsProfile const &profile) {
    if (!IsProfileName(profile.name))
        ShowError(ABW_dlgNewsAccounts, "Error", "A profile cannot have this name.");
    else if (!NewsPasswordFits(profile))
        ShowError(ABW_dlgNewsAccounts, "Error Saving Profile", "The password is too long: at most 48 bytes fit.");
    else
        return true;
    return false;
}

bool StoreProfile(std::string const &root, NewsProfile const &profile) {
    for (std::string const &directory : {root, root + profile.name, root + profile.name + "/groups"})
        mkdir(directory.c_str(), 0700);
    return WriteNewsProfile(root, profile);
}

} // namespace

int OnNewsAccountsRealized(PtWidget_t *, ApInfo_t *, PtCallbackInfo_t *) {
    LeaveNewsEditMode();
    SetRowPictures(ABW_treeNewsAccounts_Accounts);
    RefillList(kDialog);
    return Pt_CONTINUE;
}

int OnNewNewsAccount(PtWidget_t *, ApInfo_t *, PtCallbackInfo_t *) {
    EnterEditMode(kDialog, "New Profile", false);
    PtContainerGiveFocus(ABW_txtNewsAccount_AccountName, nullptr);
    return Pt_CONTINUE;
}

int OnEditNewsAccount(PtWidget_t *, ApInfo_t *, PtCallbackInfo_t *) {
    PtTreeItem_t const *const item = SelectedItem(ABW_treeNewsAccounts_Accounts);
    if (!item)
        return Pt_CONTINUE;
    EnterEditMode(kDialog, "Edit News Profile", true);
    AccountRef<NewsProfile> const profile(new NewsProfile);
    if (ReadNewsProfile(item->string, *profile) > 0) {
        ShowAccount(kDialog, *profile);
        SetWidgetText(ABW_txtNewsAccount_NEWSServer, profile->server);
    }
    return Pt_CONTINUE;
}

int OnSaveNewsAccount(PtWidget_t *, ApInfo_t *, PtCallbackInfo_t *) {
    AccountRef<NewsProfile> const profile(new NewsProfile);
    TakeAccount(kDialog, *profile);
    CopyText(profile->server, WidgetText(ABW_txtNewsAccount_NEWSServer));
    if (!*profile->name)
        return Pt_CONTINUE;
    std::optional<std::string> const root = FindConfigRoot();
    if (!root)
        return -1;
    if (!MayBeSaved(*profile))
        return Pt_CONTINUE;
    if (StoreProfile(*root + "news/", *profile))
        LeaveNewsEditMode();
    else
        ShowError(ABW_dlgNewsAccounts, "Error Saving Profile", "Error saving profile");
    FreeHeaderList();
    RefillList(kDialog);
    RefreshMainWindow();
    return Pt_CONTINUE;
}

int OnDeleteNewsAccount(PtWidget_t *, ApInfo_t *, PtCallbackInfo_t *) { return DeleteSelected(kDialog); }

int OnCancelNewsAccount(PtWidget_t *, ApInfo_t *, PtCallbackInfo_t *) {
    LeaveNewsEditMode();
    return Pt_CONTINUE;
}

int OnNewsPasswordVerify(PtWidget_t *, ApInfo_t *, PtCallbackInfo_t *cbinfo) {
    return MirrorPassword(kDialog, *cbinfo);
}

int OnBrowseNewsSignature(PtWidget_t *, ApInfo_t *, PtCallbackInfo_t *) { return ChooseSignature(kDialog); }
