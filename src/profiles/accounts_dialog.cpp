#include "profiles/accounts_dialog.h"

#include "base/paths.h"
#include "profiles/dialog_parts.h"
#include "profiles/mail_profile_file.h"
#include "profiles/profile_tree.h"
#include "store/folder.h"
#include "widgets/pictures.h"
#include "widgets/toolkit.h"
#include "widgets/tree_walk.h"

#include <sys/stat.h>

namespace {

constexpr char kDefaultInterval[] = "300";

constexpr AccountDialog kDialog{.window = ABW_dlgAccounts,
                                .list = ABW_treeAccounts_Accounts,
                                .newButton = ABW_btnNewEmailAccount,
                                .editButton = ABW_btnEditEmailAccount,
                                .deleteButton = ABW_btnDeleteEmailAccount,
                                .closeButton = ABW_btnCloseAccounts_Activated,
                                .pane = ABW_paneAccountData,
                                .title = ABW_lblAccountsTitle,
                                .name = ABW_txtAccount_AccountName,
                                .userName = ABW_txtAccount_Username,
                                .password = ABW_txtAccount_Password,
                                .hiddenPassword = ABW_HiddenPassword,
                                .fullName = ABW_txtAccount_Fullname,
                                .emailAddress = ABW_txtAccount_Email,
                                .signatureFile = ABW_txtAccount_Signature,
                                .folder = "",
                                .load = LoadMailProfiles};

void SetLeaveOnServer(bool leave) {
    PtSetResource(ABW_tlgAccount_LeaveonServer, Pt_ARG_FLAGS, leave ? Pt_TRUE : Pt_FALSE, Pt_SET);
}

void LeaveMailEditMode() {
    LeaveEditMode(kDialog);
    SetWidgetText(ABW_txtAccount_POPServer, "");
    SetWidgetText(ABW_txtAccount_SMTPServer, "");
    SetWidgetText(ABW_numCheckEmailInterval, kDefaultInterval);
    SetLeaveOnServer(true);
}

void ShowFields(MailProfile const &profile) {
    ShowAccount(kDialog, profile);
    SetWidgetText(ABW_txtAccount_POPServer, profile.popServer);
    SetWidgetText(ABW_txtAccount_SMTPServer, profile.smtpServer);
    SetWidgetText(ABW_numCheckEmailInterval, profile.checkInterval);
    SetLeaveOnServer(profile.LeavesMailOnServer());
}

void TakeFields(MailProfile &profile) {
    TakeAccount(kDialog, profile);
    CopyText(profile.popServer, WidgetText(ABW_txtAccount_POPServer));
    CopyText(profile.smtpServer, WidgetText(ABW_txtAccount_SMTPServer));
    CopyText(profile.checkInterval, WidgetText(ABW_numCheckEmailInterval));
    CopyText(profile.leaveOnServer,
             PtWidgetFlags(ABW_tlgAccount_LeaveonServer) & Pt_SET ? "LEAVEONSERVER" : "REMOVEFROMSERVER");
}

/// The profile's record file and its folders; an alert when the file cannot be written.
void StoreProfile(std::string const &root, MailProfile const &profile) {
    if (!WriteMailProfile(root, profile)) {
        ShowError(ABW_dlgAccounts, "Error Saving Profile", "Error saving profile");
        return;
    }
    std::string const directory = root + profile.name + "/";
    mkdir(directory.c_str(), 0700);
    for (char const *folder : {kInbox, kSaved, kOutbox})
        CreateFolder((directory + folder).c_str());
}

} // namespace

int OnAccountsRealized(PtWidget_t *, ApInfo_t *, PtCallbackInfo_t *) {
    LeaveMailEditMode();
    SetRowPictures(ABW_treeAccounts_Accounts);
    RefillList(kDialog);
    return Pt_CONTINUE;
}

int OnAccountsListGone(PtWidget_t *widget, ApInfo_t *, PtCallbackInfo_t *) {
    FreeProfileTree(widget);
    return Pt_CONTINUE;
}

int OnNewAccount(PtWidget_t *, ApInfo_t *, PtCallbackInfo_t *) {
    EnterEditMode(kDialog, "New Profile", false);
    SetLeaveOnServer(true);
    PtContainerGiveFocus(ABW_txtAccount_AccountName, nullptr);
    return Pt_CONTINUE;
}

int OnEditAccount(PtWidget_t *, ApInfo_t *, PtCallbackInfo_t *) {
    PtTreeItem_t const *const item = SelectedItem(ABW_treeAccounts_Accounts);
    EnterEditMode(kDialog, "Edit Profile", true);
    AccountRef<MailProfile> const profile(new MailProfile);
    if (item && ReadMailProfile(item->string, *profile) > 0)
        ShowFields(*profile);
    return Pt_CONTINUE;
}

int OnSaveAccount(PtWidget_t *, ApInfo_t *, PtCallbackInfo_t *) {
    AccountRef<MailProfile> const profile(new MailProfile);
    TakeFields(*profile);
    if (!*profile->name) { // kept: without a name nothing is said
        BlockList(kDialog, false);
        return Pt_CONTINUE;
    }
    std::optional<std::string> const root = FindConfigRoot();
    if (!root)
        return -1;
    if (!IsMailProfileName(profile->name)) {
        ShowError(ABW_dlgAccounts, "Error", "A profile cannot have this name.");
        return Pt_CONTINUE;
    }
    StoreProfile(*root, *profile);
    LeaveMailEditMode();
    RefillList(kDialog);
    RefreshMainWindow();
    return Pt_CONTINUE;
}

int OnDeleteAccount(PtWidget_t *, ApInfo_t *, PtCallbackInfo_t *) { return DeleteSelected(kDialog); }

int OnCancelAccount(PtWidget_t *, ApInfo_t *, PtCallbackInfo_t *) {
    LeaveMailEditMode();
    return Pt_CONTINUE;
}

int OnAccountNameVerify(PtWidget_t *, ApInfo_t *, PtCallbackInfo_t *cbinfo) {
    auto *const change = static_cast<PtTextCallback_t *>(cbinfo->cbdata);
    if (change->length <= 0 || !change->text)
        return Pt_CONTINUE;
    // kept: of a pasted name only the first character counts
    char const first = change->text[0];
    bool const letter = (first >= 'a' && first <= 'z') || (first >= 'A' && first <= 'Z');
    if (!letter && !(first >= '0' && first <= '9'))
        change->doit = 0;
    return Pt_CONTINUE;
}

int OnAccountPasswordVerify(PtWidget_t *, ApInfo_t *, PtCallbackInfo_t *cbinfo) {
    return MirrorPassword(kDialog, *cbinfo);
}

int OnBrowseSignature(PtWidget_t *, ApInfo_t *, PtCallbackInfo_t *) { return ChooseSignature(kDialog); }
