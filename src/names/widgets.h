#pragma once
// The names of all modules and widgets, as the application builder would generate them: ABN_<name> is a widget's
// number, ABW_<name> the widget (null before its module is created and after it is destroyed; the last instance when
// there are several), ABM_<name> the module. Names only: any folder may include this.

#include "Ap.h"

// clang-format off
#define CORVANTA_MODULES(X) \
    X(base, ApWindow) \
    X(dlgAccounts, ApDialog) \
    X(dlgNewsAccounts, ApDialog) \
    X(dlgNews, ApDialog) \
    X(dlgDownloadNewsPrompt, ApDialog) \
    X(dlgViewSource, ApDialog) \
    X(dlgAbout, ApDialog) \
    X(dlgPreferences, ApDialog) \
    X(winAddressBook, ApDialog) \
    X(mnuProfile, ApMenu) \
    X(mnuFolder, ApMenu) \
    X(mnuHeaders, ApMenu) \
    X(mnuAttachments, ApMenu) \
    X(picEmailWidgets, ApPicture)

#define CORVANTA_WIDGETS(X) \
    /* base */ \
    X(base) X(treeProfiles) X(treeMessageHeaders) X(treeAttachments) X(webEmailMessage) \
    X(lblStatus) X(prgStatus) X(lblStar) X(btnStop) \
    X(btnCheckEmail) X(btnCompose) X(btnReply) X(btnForward) X(btnDelete) X(btnHome) X(btnAddressBook) \
    X(timerCheckEmail) X(timerNoop) X(timerAnimation) \
    X(mnuFile_Check) X(mnuFile_SendWaiting) X(mnuFile_Compose) X(mnuFile_SaveAttachment) X(mnuFile_Print) X(mnuFile_Exit) \
    X(mnuMessage_Reply) X(mnuMessage_Forward) X(mnuMessage_Delete) X(mnuMessage_ViewSource) \
    X(mnuSettings_Accounts) X(mnuSettings_NewsAccounts) X(mnuSettings_AddressBook) X(mnuSettings_Preferences) \
    X(mnuHelp_Home) X(mnuHelp_About) \
    /* dlgAccounts */ \
    X(dlgAccounts) X(treeAccounts_Accounts) X(btnNewEmailAccount) X(btnEditEmailAccount) X(btnDeleteEmailAccount) \
    X(btnCloseAccounts_Activated) X(paneAccountData) X(lblAccountsTitle) X(txtAccount_AccountName) \
    X(txtAccount_POPServer) X(txtAccount_SMTPServer) X(txtAccount_Username) X(txtAccount_Password) \
    X(txtAccount_Fullname) X(txtAccount_Email) X(txtAccount_Signature) X(txtAccount_BrowseSignature) \
    X(numCheckEmailInterval) X(tlgAccount_LeaveonServer) X(btnAccount_Save) X(btnCancelAccounts) X(HiddenPassword) \
    /* dlgNewsAccounts */ \
    X(dlgNewsAccounts) X(treeNewsAccounts_Accounts) X(btnNewNewsAccount) X(btnEditNewsAccount) \
    X(btnDeleteNewsAccount) X(btnCloseNewsAccounts) X(paneNewsAccountData) X(lblNewsAccountsTitle) \
    X(txtNewsAccount_AccountName) X(txtNewsAccount_NEWSServer) X(txtNewsAccount_Username) \
    X(txtNewsAccount_Password) X(txtNewsAccount_Fullname) X(txtNewsAccount_Email) X(txtNewsAccount_Signature) \
    X(txtNewsAccount_BrowseSignature) X(btnSaveNewsAccount) X(btnCancelNewsAccounts) X(HiddenNewsPassword) \
    /* dlgNews */ \
    X(dlgNews) X(lblDlgNews) X(txtNewsFind) X(btnNewsFind) X(treeNews) X(lblNewsHint) X(btnGetNewsListing) \
    X(btnShowNewsList) X(btnShowSubscribedNewsList) X(btnCloseNews) \
    /* dlgDownloadNewsPrompt */ \
    X(dlgDownloadNewsPrompt) X(lblTotalNewsMessages) X(numNewsCount) X(tlgDownloadAll) X(btnDownloadNewsPrompt_OK) \
    /* dlgViewSource */ \
    X(dlgViewSource) X(txtViewSource) X(paneViewSourceParts) X(lblViewSourcePart) X(btnNextSourcePart) \
    X(btnCloseViewSource) \
    /* dlgPreferences */ \
    X(dlgPreferences) X(tlgPreferences_Classic) X(lblPreferencesProblem) X(btnSavePreferences) X(btnCancelPreferences) \
    /* dlgAbout */ \
    X(dlgAbout) X(lblAboutName) X(lblAboutVersion) X(btnCloseAbout) \
    /* winAddressBook */ \
    X(winAddressBook) X(cmbAddressBook) X(treeContacts) X(btnAddContact) X(btnEditContact) X(btnDeleteContact) \
    X(btnCloseAddressBook) X(paneContact) X(txtContactName) X(txtContactEmail) X(txtContactMisc) X(btnSaveContacts) \
    X(lblContactJob) \
    /* context menus */ \
    X(mnuProfile) X(mnuProfile_Mail) X(mnuProfile_AddFolder) X(mnuProfile_News) X(mnuProfile_Subscribe) \
    X(mnuFolder) X(mnuFolder_Delete) \
    X(mnuHeaders) X(mnuHeaders_Delete) X(mnuHeaders_CopyTo) X(mnuHeaders_MoveTo) \
    X(mnuAttachments) X(mnuAttachments_Save) \
    /* picEmailWidgets: images of the star and of rows, and what compose windows are made of */ \
    X(lblStar0) X(lblStar1) X(lblStar2) X(lblStar3) X(lblStar4) \
    X(imgProfile) X(imgInbox) X(imgOutbox) X(imgFolder) X(imgNews) X(imgAttachment) \
    X(pic_btnSend) X(pic_btnCancel) X(pic_btnAttachment) X(pic_prgProgress) X(pic_lblLabel) X(pic_DropDown) \
    X(pic_txtTextbox) X(pic_btnAddressBook) X(pic_multiMessage) X(pic_treeAttachments)
// clang-format on

enum {
    ABN_none,
#define CORVANTA_NUMBER(name) ABN_##name,
    CORVANTA_WIDGETS(CORVANTA_NUMBER)
#undef CORVANTA_NUMBER
        ABN_count
};

/// The widgets by their numbers, kept by the application-builder runtime.
extern PtWidget_t *AbWidgets[ABN_count];
/// The names by their numbers; entry 0 is null.
extern char const *const AbNames[ABN_count];

#define CORVANTA_WIDGET(name) inline PtWidget_t *const &ABW_##name = AbWidgets[ABN_##name];
CORVANTA_WIDGETS(CORVANTA_WIDGET)
#undef CORVANTA_WIDGET

#define CORVANTA_MODULE(name, kind) extern ApEventLink_t ABM_##name;
CORVANTA_MODULES(CORVANTA_MODULE)
#undef CORVANTA_MODULE
