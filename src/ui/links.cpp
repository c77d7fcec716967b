#include "ui/links.h"

#include "app/attachments.h"
#include "app/context_menus.h"
#include "app/folder_commands.h"
#include "app/folder_view.h"
#include "app/message_commands.h"
#include "app/message_view.h"
#include "app/preferences.h"
#include "app/printing.h"
#include "app/start.h"
#include "app/timers.h"
#include "app/view_source.h"
#include "app/waiting_mail.h"
#include "compose/compose_window.h"
#include "compose/reply.h"
#include "names/widgets.h"
#include "news/download_prompt.h"
#include "news/group_dialog.h"
#include "photon/PtWebClient.h"
#include "profiles/accounts_dialog.h"
#include "profiles/address_book.h"
#include "profiles/news_accounts_dialog.h"

#include <iterator>

namespace {

constexpr ApLink_t Code(char const *widget, unsigned long callback, ApCallback_t function) {
    return {widget, callback, ApLinkCode, function, nullptr};
}
constexpr ApLink_t Open(char const *widget, ApEventLink_t *module) {
    return {widget, Pt_CB_ACTIVATE, ApLinkModule, nullptr, module};
}
constexpr ApLink_t Done(char const *widget) { return {widget, Pt_CB_ACTIVATE, ApLinkDone, nullptr, nullptr}; }

constexpr ApLink_t kBase[] = {
    Code("base", Pt_CB_REALIZED, OnBaseRealized),
    Code("base", Pt_CB_UNREALIZED, OnBaseUnrealized),

    Code("treeProfiles", Pt_CB_TREE_SELECTION, OnProfileSelected),
    Code("treeProfiles", Pt_CB_MENU, OnProfileTreeMenu),
    Code("treeProfiles", Pt_CB_DESTROYED, OnProfilesDestroyed),
    Code("treeMessageHeaders", Pt_CB_TREE_SELECTION, OnHeaderSelected),
    Code("treeMessageHeaders", Pt_CB_MENU, OnHeaderListMenu),
    Code("treeMessageHeaders", Pt_CB_UNREALIZED, OnHeadersUnrealized),
    Code("treeAttachments", Pt_CB_MENU, OnAttachmentListMenu),
    Code("treeAttachments", Pt_CB_UNREALIZED, OnAttachmentsUnrealized),
    Code("webEmailMessage", Pt_CB_WEB_CONTEXT, OnLinkPointed),
    Code("webEmailMessage", Pt_CB_DESTROYED, OnPageViewDestroyed),

    Code("btnCheckEmail", Pt_CB_ACTIVATE, OnCheckEmail),
    Code("btnCompose", Pt_CB_ACTIVATE, OnCompose),
    Code("btnReply", Pt_CB_ACTIVATE, OnReply),
    Code("btnForward", Pt_CB_ACTIVATE, OnForward),
    Code("btnDelete", Pt_CB_ACTIVATE, OnDeleteMessage),
    Code("btnHome", Pt_CB_ACTIVATE, OnHome),
    Code("btnStop", Pt_CB_ACTIVATE, OnStop),
    Code("btnAddressBook", Pt_CB_ACTIVATE, OnAddressBook),

    Code("timerCheckEmail", Pt_CB_TIMER_ACTIVATE, OnCheckEmailTimer),
    Code("timerNoop", Pt_CB_TIMER_ACTIVATE, OnNoopTimer),
    Code("timerAnimation", Pt_CB_TIMER_ACTIVATE, OnAnimationTimer),

    Code("mnuFile_Check", Pt_CB_ACTIVATE, OnCheckEmail),
    Code("mnuFile_SendWaiting", Pt_CB_ACTIVATE, OnSendWaiting),
    Code("mnuFile_Compose", Pt_CB_ACTIVATE, OnCompose),
    Code("mnuFile_SaveAttachment", Pt_CB_ACTIVATE, OnSaveAttachment),
    Code("mnuFile_Print", Pt_CB_ACTIVATE, OnPrint),
    Done("mnuFile_Exit"),
    Code("mnuMessage_Reply", Pt_CB_ACTIVATE, OnReply),
    Code("mnuMessage_Forward", Pt_CB_ACTIVATE, OnForward),
    Code("mnuMessage_Delete", Pt_CB_ACTIVATE, OnDeleteMessage),
    Open("mnuMessage_ViewSource", &ABM_dlgViewSource),
    Open("mnuSettings_Accounts", &ABM_dlgAccounts),
    Open("mnuSettings_NewsAccounts", &ABM_dlgNewsAccounts),
    Code("mnuSettings_AddressBook", Pt_CB_ACTIVATE, OnAddressBook),
    Code("mnuHelp_Home", Pt_CB_ACTIVATE, OnHome),
    Open("mnuSettings_Preferences", &ABM_dlgPreferences),
    Open("mnuHelp_About", &ABM_dlgAbout),
};

constexpr ApLink_t kAccounts[] = {
    Code("dlgAccounts", Pt_CB_REALIZED, OnAccountsRealized),
    Code("treeAccounts_Accounts", Pt_CB_DESTROYED, OnAccountsListGone),
    Code("btnNewEmailAccount", Pt_CB_ACTIVATE, OnNewAccount),
    Code("btnEditEmailAccount", Pt_CB_ACTIVATE, OnEditAccount),
    Code("btnDeleteEmailAccount", Pt_CB_ACTIVATE, OnDeleteAccount),
    Code("btnAccount_Save", Pt_CB_ACTIVATE, OnSaveAccount),
    Code("btnCancelAccounts", Pt_CB_ACTIVATE, OnCancelAccount),
    Code("txtAccount_AccountName", Pt_CB_MODIFY_VERIFY, OnAccountNameVerify),
    Code("txtAccount_Password", Pt_CB_MODIFY_VERIFY, OnAccountPasswordVerify),
    Code("txtAccount_BrowseSignature", Pt_CB_ACTIVATE, OnBrowseSignature),
    Done("btnCloseAccounts_Activated"),
};

constexpr ApLink_t kNewsAccounts[] = {
    Code("dlgNewsAccounts", Pt_CB_REALIZED, OnNewsAccountsRealized),
    Code("treeNewsAccounts_Accounts", Pt_CB_DESTROYED, OnAccountsListGone),
    Code("btnNewNewsAccount", Pt_CB_ACTIVATE, OnNewNewsAccount),
    Code("btnEditNewsAccount", Pt_CB_ACTIVATE, OnEditNewsAccount),
    Code("btnDeleteNewsAccount", Pt_CB_ACTIVATE, OnDeleteNewsAccount),
    Code("btnSaveNewsAccount", Pt_CB_ACTIVATE, OnSaveNewsAccount),
    Code("btnCancelNewsAccounts", Pt_CB_ACTIVATE, OnCancelNewsAccount),
    Code("txtNewsAccount_Password", Pt_CB_MODIFY_VERIFY, OnNewsPasswordVerify),
    Code("txtNewsAccount_BrowseSignature", Pt_CB_ACTIVATE, OnBrowseNewsSignature),
    Done("btnCloseNewsAccounts"),
};

constexpr ApLink_t kNews[] = {
    Code("dlgNews", Pt_CB_REALIZED, OnNewsRealized),
    Code("dlgNews", Pt_CB_UNREALIZED, OnNewsUnrealized),
    Code("btnGetNewsListing", Pt_CB_ACTIVATE, OnGetNewsListing),
    Code("btnNewsFind", Pt_CB_ACTIVATE, OnNewsFind),
    Code("btnShowNewsList", Pt_CB_ACTIVATE, OnShowNewsList),
    Code("btnShowSubscribedNewsList", Pt_CB_ACTIVATE, OnShowSubscribedNewsList),
    Code("treeNews", Pt_CB_TREE_SELECTION, OnNewsGroupSelected),
    Done("btnCloseNews"),
};

constexpr ApLink_t kDownloadPrompt[] = {
    Code("dlgDownloadNewsPrompt", Pt_CB_REALIZED, OnDownloadPromptRealized),
    Code("dlgDownloadNewsPrompt", Pt_CB_UNREALIZED, OnDownloadPromptUnrealized),
    Done("btnDownloadNewsPrompt_OK"),
};

constexpr ApLink_t kAddressBook[] = {
    Code("winAddressBook", Pt_CB_REALIZED, OnAddressBookRealized),
    Code("winAddressBook", Pt_CB_WINDOW, OnAddressBookWindow),
    Code("cmbAddressBook", Pt_CB_SELECTION, OnBookChosen),
    Code("treeContacts", Pt_CB_TREE_SELECTION, OnContactSelected),
    Code("btnAddContact", Pt_CB_ACTIVATE, OnAddContact),
    Code("btnEditContact", Pt_CB_ACTIVATE, OnEditContact),
    Code("btnDeleteContact", Pt_CB_ACTIVATE, OnDeleteContact),
    Code("btnSaveContacts", Pt_CB_ACTIVATE, OnSaveContacts),
    Code("txtContactName", Pt_CB_MODIFY_VERIFY, OnContactVerify),
    Code("txtContactEmail", Pt_CB_MODIFY_VERIFY, OnContactVerify),
    Code("txtContactMisc", Pt_CB_MODIFY_VERIFY, OnContactVerify),
    Done("btnCloseAddressBook"),
};

constexpr ApLink_t kViewSource[] = {
    Code("dlgViewSource", Pt_CB_REALIZED, OnViewSourceRealized),
    Code("dlgViewSource", Pt_CB_DESTROYED, OnViewSourceGone),
    Code("btnNextSourcePart", Pt_CB_ACTIVATE, OnNextSourcePart),
    Done("btnCloseViewSource"),
};

constexpr ApLink_t kAbout[] = {
    Code("dlgAbout", Pt_CB_REALIZED, OnAboutRealized),
    Done("btnCloseAbout"),
};

constexpr ApLink_t kProfileMenu[] = {
    Code("mnuProfile_AddFolder", Pt_CB_ACTIVATE, OnAddFolder),
    Code("mnuProfile_Subscribe", Pt_CB_ACTIVATE, OnSubscribe),
};
constexpr ApLink_t kFolderMenu[] = {Code("mnuFolder_Delete", Pt_CB_ACTIVATE, OnDeleteFolder)};
constexpr ApLink_t kPreferences[] = {
    Code("dlgPreferences", Pt_CB_REALIZED, OnPreferencesRealized),
    Code("btnSavePreferences", Pt_CB_ACTIVATE, OnSavePreferences),
    Done("btnSavePreferences"),
    Done("btnCancelPreferences"),
};
constexpr ApLink_t kHeadersMenu[] = {Code("mnuHeaders_Delete", Pt_CB_ACTIVATE, OnDeleteMessage)};
constexpr ApLink_t kAttachmentsMenu[] = {Code("mnuAttachments_Save", Pt_CB_ACTIVATE, OnSaveAttachment)};

template <size_t Count> constexpr ApLinkTable_t Table(char const *module, ApLink_t const (&links)[Count]) {
    return {module, links, static_cast<int>(Count)};
}

constexpr ApLinkTable_t kTables[] = {
    Table("base", kBase),
    Table("dlgAccounts", kAccounts),
    Table("dlgNewsAccounts", kNewsAccounts),
    Table("dlgNews", kNews),
    Table("dlgDownloadNewsPrompt", kDownloadPrompt),
    Table("winAddressBook", kAddressBook),
    Table("dlgViewSource", kViewSource),
    Table("dlgAbout", kAbout),
    Table("dlgPreferences", kPreferences),
    Table("mnuProfile", kProfileMenu),
    Table("mnuFolder", kFolderMenu),
    Table("mnuHeaders", kHeadersMenu),
    Table("mnuAttachments", kAttachmentsMenu),
};

} // namespace

ApContext_t AbContext{0, AbNames, AbWidgets, ABN_count, kTables, static_cast<int>(std::size(kTables))};
