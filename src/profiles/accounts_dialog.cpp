#include "profiles/accounts_dialog.h"

#include "base/paths.h"
#include "base/text.h"
#include "profiles/mail_profile_file.h"
#include "profiles/profile_tree.h"
#include "store/folder.h"
#include "ui/widgets.h"
#include "widgets/pictures.h"
#include "widgets/toolkit.h"

#include <algorithm>
#include <cstring>
#include <process.h>
#include <string>
#include <sys/stat.h>

namespace {

constexpr char kDefaultInterval[] = "300";

/// The list and what belongs to it.
void BlockList(bool blocked) {
    for (PtWidget_t *widget : {ABW_treeAccounts_Accounts, ABW_btnNewEmailAccount, ABW_btnEditEmailAccount,
                               ABW_btnDeleteEmailAccount, ABW_btnCloseAccounts_Activated})
        SetBlocked(widget, blocked);
}

void SetLeaveOnServer(bool leave) {
    PtSetResource(ABW_tlgAccount_LeaveonServer, Pt_ARG_FLAGS, leave ? Pt_TRUE : Pt_FALSE, Pt_SET);
}

void ClearFields() {
    for (PtWidget_t *widget :
         {ABW_txtAccount_AccountName, ABW_txtAccount_POPServer, ABW_txtAccount_SMTPServer, ABW_txtAccount_Username,
          ABW_txtAccount_Password, ABW_txtAccount_Fullname, ABW_txtAccount_Email, ABW_txtAccount_Signature,
          ABW_HiddenPassword, ABW_lblAccountsTitle})
        SetWidgetText(widget, "");
    SetWidgetText(ABW_numCheckEmailInterval, kDefaultInterval);
    SetLeaveOnServer(true);
}

void EnterEditMode(char const *title, bool nameBlocked) {
    BlockList(true);
    SetBlocked(ABW_txtAccount_AccountName, nameBlocked);
    SetWidgetText(ABW_HiddenPassword, "");
    SetBlocked(ABW_paneAccountData, false);
    SetWidgetText(ABW_lblAccountsTitle, title);
}

void LeaveEditMode() {
    SetBlocked(ABW_paneAccountData, true);
    ClearFields();
    BlockList(false);
}

void RefillAccountsList() {
    FreeProfileTree(ABW_treeAccounts_Accounts);
    LoadMailProfiles(ABW_treeAccounts_Accounts, kProfilesOnly);
}

/// Nothing of the old records stays open or shown in the main window.
void RefreshMainWindow() {
    ForgetOpenProfile();
    ReloadProfileTree();
}

/// The bytes of the first character of `text`, which is not empty: a UTF-8 sequence, or one byte that is none.
size_t CharacterBytes(std::string_view text) {
    auto const lead = static_cast<unsigned char>(text[0]);
    size_t const size = lead < 0xC2 || lead > 0xF4 ? 1 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
    if (size > text.size())
        return 1;
    for (char const byte : text.substr(1, size - 1))
        if ((static_cast<unsigned char>(byte) & 0xC0) != 0x80)
            return 1;
    return size;
}

/// One asterisk for each character, as text fields count them.
std::string Asterisks(std::string_view password) {
    std::string asterisks;
    for (; !password.empty(); password.remove_prefix(CharacterBytes(password)))
        asterisks += '*';
    return asterisks;
}

/// The text of a change without control characters: a password that is pasted may bring its line's end along.
std::string WithoutControls(PtTextCallback_t const &change) {
    std::string text(change.text && change.length > 0 ? change.text : "");
    std::erase_if(text, [](unsigned char byte) { return byte < ' ' || byte == 0x7F; });
    return text;
}

void ShowFields(MailProfile const &profile) {
    SetWidgetText(ABW_txtAccount_AccountName, profile.name);
    SetWidgetText(ABW_txtAccount_POPServer, profile.popServer);
    SetWidgetText(ABW_txtAccount_SMTPServer, profile.smtpServer);
    SetWidgetText(ABW_txtAccount_Username, profile.userName);
    SetWidgetText(ABW_HiddenPassword, profile.password);
    SetWidgetText(ABW_txtAccount_Password, Asterisks(profile.password).c_str());
    SetWidgetText(ABW_txtAccount_Fullname, profile.fullName);
    SetWidgetText(ABW_txtAccount_Email, profile.emailAddress);
    SetWidgetText(ABW_txtAccount_Signature, profile.signatureFile);
    SetWidgetText(ABW_numCheckEmailInterval, profile.checkInterval);
    SetLeaveOnServer(profile.LeavesMailOnServer());
}

void TakeFields(MailProfile &profile, std::string const &name) {
    CopyText(profile.name, name);
    CopyText(profile.popServer, WidgetText(ABW_txtAccount_POPServer));
    CopyText(profile.smtpServer, WidgetText(ABW_txtAccount_SMTPServer));
    CopyText(profile.userName, WidgetText(ABW_txtAccount_Username));
    CopyText(profile.password, WidgetText(ABW_HiddenPassword));
    CopyText(profile.fullName, WidgetText(ABW_txtAccount_Fullname));
    CopyText(profile.emailAddress, WidgetText(ABW_txtAccount_Email));
    CopyText(profile.checkInterval, WidgetText(ABW_numCheckEmailInterval));
    CopyText(profile.leaveOnServer,
             PtWidgetFlags(ABW_tlgAccount_LeaveonServer) & Pt_SET ? "LEAVEONSERVER" : "REMOVEFROMSERVER");
    CopyText(profile.signatureFile, WidgetText(ABW_txtAccount_Signature));
}

/// The profile's record file and its folders; an alert when the file cannot be written.
void StoreProfile(std::string const &root, MailProfile const &profile) {
    if (!WriteMailProfile(root, profile)) {
        ShowError(ABW_dlgAccounts, "Error Saving Profile", "Error saving profile");
        return;
    }
    std::string const directory = root + profile.name;
    mkdir(directory.c_str(), 0700);
    for (char const *folder : {"/Inbox", "/Saved", "/Outbox"})
        CreateFolder((directory + folder).c_str());
}

void RemoveProfile(std::string const &root, std::string const &name) {
    std::string const directory = root + name;
    spawnl(P_WAIT, "/bin/rm", "/bin/rm", "-R", directory.c_str(), nullptr);
    spawnl(P_WAIT, "/bin/rm", "/bin/rm", (directory + ".dat").c_str(), nullptr);
}

} // namespace

int OnAccountsRealized(PtWidget_t *, ApInfo_t *, PtCallbackInfo_t *) {
    LeaveEditMode();
    SetRowPictures(ABW_treeAccounts_Accounts);
    RefillAccountsList();
    return Pt_CONTINUE;
}

int OnAccountsListGone(PtWidget_t *widget, ApInfo_t *, PtCallbackInfo_t *) {
    FreeProfileTree(widget);
    return Pt_CONTINUE;
}

int OnNewAccount(PtWidget_t *, ApInfo_t *, PtCallbackInfo_t *) {
    EnterEditMode("New Profile", false);
    SetLeaveOnServer(true);
    PtContainerGiveFocus(ABW_txtAccount_AccountName, nullptr);
    return Pt_CONTINUE;
}

int OnEditAccount(PtWidget_t *, ApInfo_t *, PtCallbackInfo_t *) {
    PtTreeItem_t const *const item = SelectedItem(ABW_treeAccounts_Accounts);
    EnterEditMode("Edit Profile", true);
    AccountRef<MailProfile> const profile(new MailProfile);
    if (item && ReadMailProfile(item->string, *profile) > 0)
        ShowFields(*profile);
    return Pt_CONTINUE;
}

int OnSaveAccount(PtWidget_t *, ApInfo_t *, PtCallbackInfo_t *) {
    std::string const name = WidgetText(ABW_txtAccount_AccountName);
    if (name.empty()) {
        BlockList(false);
        return Pt_CONTINUE;
    }
    std::optional<std::string> const home = HomeDirectory();
    if (!home)
        return -1;
    if (!IsMailProfileName(name)) {
        ShowError(ABW_dlgAccounts, "Error", "A profile cannot have this name.");
        return Pt_CONTINUE;
    }
    AccountRef<MailProfile> const profile(new MailProfile);
    TakeFields(*profile, name);
    StoreProfile(*home + "/.Corvanta/", *profile);
    LeaveEditMode();
    RefillAccountsList();
    RefreshMainWindow();
    return Pt_CONTINUE;
}

int OnDeleteAccount(PtWidget_t *, ApInfo_t *, PtCallbackInfo_t *) {
    std::optional<std::string> const home = HomeDirectory();
    if (!home)
        return -1;
    PtTreeItem_t const *const item = SelectedItem(ABW_treeAccounts_Accounts);
    std::string const name = item ? item->string : "";
    if (item && AskTwo(ABW_dlgAccounts, "Warning!", "Are you sure you want to \npermanently delete this profile?",
                       "&Cancel", "&Delete it")) {
        RemoveProfile(*home + "/.Corvanta/", name);
        RefillAccountsList();
    }
    RefreshMainWindow();
    return Pt_CONTINUE;
}

int OnCancelAccount(PtWidget_t *, ApInfo_t *, PtCallbackInfo_t *) {
    LeaveEditMode();
    return Pt_CONTINUE;
}

int OnAccountNameVerify(PtWidget_t *, ApInfo_t *, PtCallbackInfo_t *cbinfo) {
    auto *const change = static_cast<PtTextCallback_t *>(cbinfo->cbdata);
    if (change->length <= 0 || !change->text)
        return Pt_CONTINUE;
    char const first = change->text[0];
    bool const letter = (first >= 'a' && first <= 'z') || (first >= 'A' && first <= 'Z');
    if (!letter && !(first >= '0' && first <= '9'))
        change->doit = 0;
    return Pt_CONTINUE;
}

int OnAccountPasswordVerify(PtWidget_t *, ApInfo_t *, PtCallbackInfo_t *cbinfo) {
    // The toolkit takes as many asterisks as characters came in: twenty, or more for a long paste.
    static std::string asterisks;
    auto *const change = static_cast<PtTextCallback_t *>(cbinfo->cbdata);
    std::string const typed = WithoutControls(*change);
    change->length = static_cast<int>(Asterisks(typed).size());
    PtTextModifyText(ABW_HiddenPassword, change->start_pos, change->end_pos, change->start_pos, typed.c_str(),
                     change->length);
    asterisks.assign(static_cast<size_t>(std::max(change->length, 20)), '*');
    change->text = asterisks.data();
    return Pt_CONTINUE;
}

int OnBrowseSignature(PtWidget_t *, ApInfo_t *, PtCallbackInfo_t *) {
    std::string const home = HomeDirectory().value_or("/");
    PtFileSelectionInfo_t info{};
    PtFileSelection(ABW_dlgAccounts, nullptr, "Signature File", home.c_str(), "*", "Select", "Cancel", nullptr, &info,
                    0);
    SetWidgetText(ABW_txtAccount_Signature, info.path);
    return Pt_CONTINUE;
}
