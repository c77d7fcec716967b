#include "profiles/dialog_parts.h"

#include "base/paths.h"
#include "base/text.h"
#include "base/utf8.h"
#include "profiles/profile_tree.h"
#include "widgets/toolkit.h"
#include "widgets/tree_walk.h"

#include <algorithm>
#include <process.h>

namespace {

/// One asterisk for each character, as text fields count them.
std::string Asterisks(std::string_view password) { return std::string(CharacterCount(password), '*'); }

/// The text of a change without control characters: a password that is pasted may bring its line's end along.
std::string WithoutControls(PtTextCallback_t const &change) {
    std::string text(change.text && change.length > 0 ? change.text : "");
    std::erase_if(text, [](unsigned char byte) { return byte < ' ' || byte == 0x7F; });
    return text;
}

void RemoveProfile(std::string const &directory) {
    spawnl(P_WAIT, "/bin/rm", "/bin/rm", "-R", directory.c_str(), nullptr);
    spawnl(P_WAIT, "/bin/rm", "/bin/rm", (directory + ".dat").c_str(), nullptr);
}

} // namespace

void BlockList(AccountDialog const &dialog, bool blocked) {
    for (PtWidget_t *widget :
         {dialog.list, dialog.newButton, dialog.editButton, dialog.deleteButton, dialog.closeButton})
        SetBlocked(widget, blocked);
}

void EnterEditMode(AccountDialog const &dialog, char const *title, bool nameBlocked) {
    BlockList(dialog, true);
    SetBlocked(dialog.name, nameBlocked);
    SetWidgetText(dialog.hiddenPassword, "");
    SetBlocked(dialog.pane, false);
    SetWidgetText(dialog.title, title);
}

void LeaveEditMode(AccountDialog const &dialog) {
    SetBlocked(dialog.pane, true);
    for (PtWidget_t *widget : {dialog.name, dialog.userName, dialog.password, dialog.hiddenPassword, dialog.fullName,
                               dialog.emailAddress, dialog.signatureFile, dialog.title})
        SetWidgetText(widget, "");
    BlockList(dialog, false);
}

void RefillList(AccountDialog const &dialog) {
    FreeProfileTree(dialog.list);
    if (dialog.list)
        dialog.load(dialog.list, kProfilesOnly);
}

void ShowAccount(AccountDialog const &dialog, ServerAccount const &account) {
    SetWidgetText(dialog.name, account.name);
    SetWidgetText(dialog.userName, account.userName);
    SetWidgetText(dialog.hiddenPassword, account.password);
    SetWidgetText(dialog.password, Asterisks(account.password).c_str());
    SetWidgetText(dialog.fullName, account.fullName);
    SetWidgetText(dialog.emailAddress, account.emailAddress);
    SetWidgetText(dialog.signatureFile, account.signatureFile);
}

void RefreshMainWindow() {
    ForgetOpenProfile();
    ReloadProfileTree();
}

int DeleteSelected(AccountDialog const &dialog) {
    std::optional<std::string> const root = FindConfigRoot();
    if (!root)
        return -1;
    PtTreeItem_t const *const item = SelectedItem(dialog.list);
    std::string const name = item ? item->string : "";
    if (item && AskTwo(dialog.window, "Warning!", "Are you sure you want to \npermanently delete this profile?",
                       "&Cancel", "&Delete it")) {
        RemoveProfile(*root + dialog.folder + name);
        RefillList(dialog);
    }
    RefreshMainWindow(); // kept: also when the answer was no
    return Pt_CONTINUE;
}

int MirrorPassword(AccountDialog const &dialog, PtCallbackInfo_t &cbinfo) {
    // The toolkit takes as many asterisks as characters came in: twenty, or more for a long paste.
    static std::string asterisks;
    auto *const change = static_cast<PtTextCallback_t *>(cbinfo.cbdata);
    std::string const typed = WithoutControls(*change);
    change->length = static_cast<int>(CharacterCount(typed));
    PtTextModifyText(dialog.hiddenPassword, change->start_pos, change->end_pos, change->start_pos, typed.c_str(),
                     change->length);
    asterisks.assign(static_cast<size_t>(std::max(change->length, 20)), '*');
    change->text = asterisks.data();
    return Pt_CONTINUE;
}

int ChooseSignature(AccountDialog const &dialog) {
    std::string const home = HomeDirectory().value_or("/");
    PtFileSelectionInfo_t info{};
    PtFileSelection(dialog.window, nullptr, "Signature File", home.c_str(), "*", "Select", "Cancel", nullptr, &info,
                    0);
    SetWidgetText(dialog.signatureFile, info.path); // kept: cancelling clears the field
    return Pt_CONTINUE;
}
