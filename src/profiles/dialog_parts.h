#pragma once
// What the dialogs of mail and of news accounts have in common. In list mode the list and its buttons can be used and
// the pane with the fields is blocked; in edit mode (new or edit) it is the other way round. All calls on the main
// thread under the library lock.

#include "Pt.h"
#include "base/account.h"
#include "base/text.h"
#include "names/widgets.h"
#include "widgets/toolkit.h"

#include <string>

/// One of the dialogs: its widgets, which are null while it is not there, and where its profiles are.
struct AccountDialog {
    using Widget = PtWidget_t *const;
    Widget &window, &list, &newButton, &editButton, &deleteButton, &closeButton;
    Widget &pane, &title, &name, &userName, &password, &hiddenPassword, &fullName, &emailAddress, &signatureFile;
    char const *folder;                      ///< below ConfigRoot: "" or "news/"
    int (*load)(PtWidget_t *tree, int mode); ///< adds the profiles to a tree
};

/// Blocks or unblocks the list and what belongs to it.
void BlockList(AccountDialog const &dialog, bool blocked);
void EnterEditMode(AccountDialog const &dialog, char const *title, bool nameBlocked);
/// Back to list mode; the common fields are emptied.
void LeaveEditMode(AccountDialog const &dialog);
/// Fills the list again.
void RefillList(AccountDialog const &dialog);

/// The record's common fields into the dialog's and back; the password is shown as asterisks.
void ShowAccount(AccountDialog const &dialog, ServerAccount const &account);
template <class Profile> void TakeAccount(AccountDialog const &dialog, Profile &profile) {
    CopyText(profile.name, WidgetText(dialog.name));
    CopyText(profile.userName, WidgetText(dialog.userName));
    CopyText(profile.password, WidgetText(dialog.hiddenPassword));
    CopyText(profile.fullName, WidgetText(dialog.fullName));
    CopyText(profile.emailAddress, WidgetText(dialog.emailAddress));
    CopyText(profile.signatureFile, WidgetText(dialog.signatureFile));
}

/// Nothing of the old records stays open or shown in the main window.
void RefreshMainWindow();

/// Asks, then removes the selected profile's directory and record; in every case the open profile is dropped and the
/// main window's tree filled again. Returns -1 when the user has no password entry, else Pt_CONTINUE.
int DeleteSelected(AccountDialog const &dialog);

/// Modify-verify of the password: the change goes to the hidden field, this one shows asterisks.
int MirrorPassword(AccountDialog const &dialog, PtCallbackInfo_t &cbinfo);

/// Asks for the signature file; cancelling clears the field.
int ChooseSignature(AccountDialog const &dialog);
