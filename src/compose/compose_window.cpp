#include "compose/compose_window.h"

#include "base/paths.h"
#include "compose/compose_attachments.h"
#include "compose/send/send_thread.h"
#include "names/widgets.h"
#include "profiles/address_book.h"
#include "profiles/profile_tree.h"
#include "widgets/activity.h"
#include "widgets/open_profile.h"
#include "widgets/pictures.h"
#include "widgets/toolkit.h"
#include "widgets/tree_walk.h"

#include <cstring>
#include <memory>
#include <new>
#include <string_view>
#include <vector>

namespace {

constexpr long kTop = Pt_TOP_ANCHORED_TOP | Pt_BOTTOM_ANCHORED_TOP;
constexpr long kLeft = kTop | Pt_LEFT_ANCHORED_LEFT | Pt_RIGHT_ANCHORED_LEFT;
constexpr long kWide = kTop | Pt_LEFT_ANCHORED_LEFT | Pt_RIGHT_ANCHORED_RIGHT;
constexpr long kRight = kTop | Pt_LEFT_ANCHORED_RIGHT | Pt_RIGHT_ANCHORED_RIGHT;
constexpr long kBottom =
    Pt_TOP_ANCHORED_BOTTOM | Pt_BOTTOM_ANCHORED_BOTTOM | Pt_LEFT_ANCHORED_LEFT | Pt_RIGHT_ANCHORED_RIGHT;
constexpr long kFill =
    Pt_TOP_ANCHORED_TOP | Pt_BOTTOM_ANCHORED_BOTTOM | Pt_LEFT_ANCHORED_LEFT | Pt_RIGHT_ANCHORED_RIGHT;

/// Where a widget stands in a window of kComposeSize, or in its body, and which edges it follows when that is
/// resized.
struct Place {
    short x, y;
    unsigned short w, h;
    long anchors;
};

// The first row is all that a sending window shows. The rest has a pane of its own below these pixels, which
// covers nothing when the window is folded up.
constexpr short kFirstRow = 5, kRowStep = 31;
constexpr Place kBody{0, kSendingSize.h, kComposeSize.w, kComposeSize.h - kSendingSize.h, kFill};

constexpr Place Field(int row, unsigned short width) {
    return {72, static_cast<short>(kFirstRow + row * kRowStep), width, 26, kWide};
}
constexpr Place BookButton(int row) { return {362, static_cast<short>(kFirstRow + row * kRowStep), 80, 26, kRight}; }

PtWidget_t *Make(char const *name, Place const &place, char const *text = nullptr, char const *key = nullptr) {
    PhArea_t const area{{place.x, place.y}, {place.w, place.h}};
    PtArg_t args[4];
    int count = 0;
    PtSetArg(&args[count++], Pt_ARG_AREA, &area, 0);
    PtSetArg(&args[count++], Pt_ARG_ANCHOR_FLAGS, place.anchors, ~0L);
    if (text)
        PtSetArg(&args[count++], Pt_ARG_TEXT_STRING, text, 0);
    if (key)
        PtSetArg(&args[count++], Pt_ARG_ACCEL_KEY, key, 0);
    return ApCreateWidget(EmailWidgetsDb, name, -1, -1, count, args);
}

/// A field with its label in front, which names it for the keyboard and for screen readers.
PtWidget_t *MakeField(char const *name, int row, unsigned short width, char const *label, char const *key) {
    Make("pic_lblLabel", {4, static_cast<short>(kFirstRow + row * kRowStep), 62, 26, kLeft}, label, key);
    return Make(name, Field(row, width));
}

/// The pane below the first row; from here on widgets are made in it.
void MakeBody(PtWidget_t *window) {
    PhArea_t const area{{kBody.x, kBody.y}, {kBody.w, kBody.h}};
    PtArg_t args[2];
    PtSetArg(&args[0], Pt_ARG_AREA, &area, 0);
    PtSetArg(&args[1], Pt_ARG_ANCHOR_FLAGS, kBody.anchors, ~0L);
    PtSetParentWidget(PtCreateWidget(PtPane, window, 2, args));
}

/// Made in the order in which the Tab key visits them: it goes round, and the cursor starts in the To field.
void MakeWidgets(ComposeState &state) {
    bool const mail = state.kind != kComposeNews;
    state.sendButton = Make("pic_btnSend", {8, 9, 84, 28, kLeft});
    state.cancelButton = Make("pic_btnCancel", {356, 9, 86, 28, kRight});
    state.attachButton = Make("pic_btnAttachment", {98, 9, 88, 28, kLeft});
    state.progressBar = Make("pic_prgProgress", {194, 12, 154, 22, kWide});
    MakeBody(state.window);
    state.profileChooser = MakeField("pic_DropDown", 0, 370, "From:", "F");
    if (mail) {
        state.toBookButton = Make("pic_btnAddressBook", BookButton(1));
        state.ccBookButton = Make("pic_btnAddressBook", BookButton(2), nullptr, "k");
    }
    state.toField = MakeField("pic_txtTextbox", 1, mail ? 284 : 370, mail ? "To:" : "Group:", mail ? "T" : "G");
    if (mail)
        state.ccField = MakeField("pic_txtTextbox", 2, 284, "Cc:", "C");
    int const subjectRow = mail ? 3 : 2;
    state.subjectField = MakeField("pic_txtTextbox", subjectRow, 370, "Subject:", "j");
    short const textTop = static_cast<short>(kFirstRow + (subjectRow + 1) * kRowStep);
    constexpr short kListTop = 334 - kBody.y;
    state.messageText =
        Make("pic_multiMessage", {8, textTop, 434, static_cast<unsigned short>(kListTop - 6 - textTop), kFill});
    state.attachmentList = Make("pic_treeAttachments", {8, kListTop, 434, 58, kBottom});
    SetRowPictures(state.attachmentList);
}

bool Complete(ComposeState const &state) {
    for (PtWidget_t *widget :
         {state.sendButton, state.cancelButton, state.attachButton, state.progressBar, state.profileChooser,
          state.toField, state.subjectField, state.messageText, state.attachmentList})
        if (!widget)
            return false;
    return true;
}

bool SuitsKind(ServerAccount const &account, ComposeKind kind) {
    return (account.profileKind == kNewsProfile) == (kind == kComposeNews);
}

/// Calls `visit` with each profile of the tree that can send a message of this kind.
template <class Visit> void EachAccount(ComposeKind kind, Visit visit) {
    if (!ABW_treeProfiles)
        return;
    for (PtTreeItem_t *item = PtTreeRootItem(ABW_treeProfiles); item; item = BrotherOf(item))
        if (ServerAccount *const account = ProfileOf(item); account && SuitsKind(*account, kind))
            visit(*account);
}

/// Fills the chooser, the open profile chosen, else the first. False when there is none.
bool FillChooser(PtWidget_t *chooser, ComposeKind kind) {
    std::vector<char const *> names;
    int chosen = 1;
    EachAccount(kind, [&](ServerAccount const &account) {
        names.push_back(account.name);
        if (&account == currentProfile.Get())
            chosen = static_cast<int>(names.size());
    });
    if (names.empty())
        return false;
    PtListAddItems(chooser, names.data(), static_cast<int>(names.size()), 0);
    PtListSelectPos(chooser, chosen);
    return true;
}

int OnCancel(PtWidget_t *, void *data, PtCallbackInfo_t *) {
    auto *const state = static_cast<ComposeState *>(data);
    ComposeHold const hold(state);
    // Stopping what is being sent is an answer already.
    if (!state->sending) {
        CloseComposeWindow(*state);
    } else {
        CancelSending(*state);
        PtDestroyWidget(state->window);
    }
    return Pt_CONTINUE;
}

int OnWindowEvent(PtWidget_t *, void *data, PtCallbackInfo_t *cbinfo) {
    if (static_cast<PhWindowEvent_t *>(cbinfo->cbdata)->event_f == Ph_WM_CLOSE)
        CloseComposeWindow(*static_cast<ComposeState *>(data));
    return Pt_CONTINUE;
}

int OnSendKey(PtWidget_t *, void *data, PtCallbackInfo_t *cbinfo) {
    auto *const state = static_cast<ComposeState *>(data);
    if (!state->sending && !(PtWidgetFlags(state->sendButton) & (Pt_BLOCKED | Pt_GHOST)))
        return OnSend(state->sendButton, state, cbinfo);
    return Pt_CONTINUE;
}

int OnToBook(PtWidget_t *, void *data, PtCallbackInfo_t *) {
    OpenAddressBook(static_cast<ComposeState *>(data)->toField);
    return Pt_CONTINUE;
}

int OnCcBook(PtWidget_t *, void *data, PtCallbackInfo_t *) {
    OpenAddressBook(static_cast<ComposeState *>(data)->ccField);
    return Pt_CONTINUE;
}

/// The window was closed: what it owns is freed. The state stays while its thread holds it.
int OnWindowGone(PtWidget_t *, void *data, PtCallbackInfo_t *) {
    auto *const state = static_cast<ComposeState *>(data);
    if (!state->window)
        return Pt_CONTINUE;
    for (PtWidget_t *field : {state->toField, state->ccField})
        if (field)
            ForgetAddressTarget(field);
    FreeAttachedFiles(*state);
    for (PtWidget_t **widget :
         {&state->window, &state->sendButton, &state->cancelButton, &state->attachButton, &state->progressBar,
          &state->profileChooser, &state->toField, &state->ccField, &state->subjectField, &state->messageText,
          &state->attachmentList, &state->attachmentMenu, &state->toBookButton, &state->ccBookButton})
        *widget = nullptr;
    ReleaseCompose(state);
    return Pt_CONTINUE;
}

void Attach(ComposeState &state) {
    PtAddCallback(state.sendButton, Pt_CB_ACTIVATE, OnSend, &state);
    PtAddCallback(state.cancelButton, Pt_CB_ACTIVATE, OnCancel, &state);
    PtAddCallback(state.attachButton, Pt_CB_ACTIVATE, OnAttachFile, &state);
    PtAddCallback(state.attachmentList, Pt_CB_MENU, OnAttachedFilesMenu, &state);
    PtAddHotkeyHandler(state.attachmentList, Pk_Delete, 0, Pt_HOTKEY_SYM | Pt_HOTKEY_FOCUSED, &state,
                       OnRemoveAttachedFile);
    PtAddHotkeyHandler(state.window, Pk_Return, Pk_KM_Ctrl, Pt_HOTKEY_SYM, &state, OnSendKey);
    if (state.toBookButton)
        PtAddCallback(state.toBookButton, Pt_CB_ACTIVATE, OnToBook, &state);
    if (state.ccBookButton)
        PtAddCallback(state.ccBookButton, Pt_CB_ACTIVATE, OnCcBook, &state);
    PtAddCallback(state.window, Pt_CB_WINDOW, OnWindowEvent, &state);
    PtAddCallback(state.window, Pt_CB_UNREALIZED, OnWindowGone, &state);
}

/// The group that the main window shows, without the blank that stored names end in; empty when it shows none.
std::string OpenGroup() {
    std::string_view const folder = currentFolder;
    // A news profile itself counts as its "Inbox".
    if (!CurrentNewsProfile() || folder == kInbox)
        return {};
    return std::string(folder.substr(0, folder.find_last_not_of(' ') + 1));
}

void Refuse(char const *message) { ShowError(ABW_base, "Error", message); }

std::unique_ptr<ComposeState> NewState() {
    try {
        return std::make_unique<ComposeState>();
    } catch (std::bad_alloc const &) {
        return nullptr;
    }
}

/// A window of no other window's: closing the main window must not take a text away.
PtWidget_t *MakeWindow() {
    PtArg_t args[3];
    PtSetArg(&args[0], Pt_ARG_DIM, &kComposeSize, 0);
    PtSetArg(&args[1], Pt_ARG_WINDOW_MANAGED_FLAGS, Pt_FALSE, Ph_WM_CLOSE);
    PtSetArg(&args[2], Pt_ARG_WINDOW_NOTIFY_FLAGS, Pt_TRUE, Ph_WM_CLOSE);
    return PtCreateWidget(PtWindow, Pt_NO_PARENT, 3, args);
}

} // namespace

ComposeKind CurrentComposeKind() {
    if (!currentProfile)
        return !HasProfileFor(kComposeMail) && HasProfileFor(kComposeNews) ? kComposeNews : kComposeMail;
    return currentProfile->profileKind == kNewsProfile ? kComposeNews : kComposeMail;
}

bool HasProfileFor(ComposeKind kind) {
    bool any = false;
    EachAccount(kind, [&](ServerAccount const &) { any = true; });
    return any;
}

ComposeState *CreateComposeWindow(ComposeKind kind) {
    if (!HasProfileFor(kind)) {
        Refuse("You must first create an email profile");
        return nullptr;
    }
    std::unique_ptr<ComposeState> state = NewState();
    if (state) {
        state->kind = kind;
        PtWidget_t *const before = PtSetParentWidget(nullptr);
        state->window = MakeWindow();
        PtSetParentWidget(state->window);
        if (state->window)
            MakeWidgets(*state);
        PtSetParentWidget(before);
    }
    if (!state || !Complete(*state) || !FillChooser(state->profileChooser, kind)) {
        if (state && state->window)
            PtDestroyWidget(state->window);
        Refuse("Could not allocate a new message");
        return nullptr;
    }
    PtSetResource(state->attachmentList, Pt_ARG_FLAGS, Pt_FALSE, Pt_GETS_FOCUS); // nothing to go to yet
    Attach(*state);
    RetainCompose(state.get());
    return state.release();
}

void ShowComposeWindow(ComposeState &state, char const *title) {
    PtSetResource(state.window, Pt_ARG_WINDOW_TITLE, title, 0);
    PtRealizeWidget(state.window);
    PtContainerGiveFocus(*WidgetText(state.toField) ? state.messageText : state.toField, nullptr);
}

ServerAccount *ChosenAccount(ComposeState const &state) {
    std::string_view const name = WidgetText(state.profileChooser);
    ServerAccount *chosen = nullptr;
    EachAccount(state.kind, [&](ServerAccount &account) {
        if (!chosen && name == account.name)
            chosen = &account;
    });
    return chosen;
}

void CloseComposeWindow(ComposeState &state) {
    ComposeHold const hold(&state);
    bool const unsent = !state.sent && state.messageText && *WidgetText(state.messageText);
    if (unsent && !AskTwo(state.window, "Warning!", "This message has not been sent. Do you want to discard it?",
                          "&Cancel", "&Discard it"))
        return;
    if (state.sending)
        CancelSending(state);
    if (state.window) // it may have been sent and closed while the question was open
        PtDestroyWidget(state.window);
}

int OnCompose(PtWidget_t *, ApInfo_t *, PtCallbackInfo_t *) {
    ComposeState *const state = CreateComposeWindow(CurrentComposeKind());
    if (!state)
        return Pt_CONTINUE;
    if (state->kind == kComposeNews)
        SetWidgetText(state->toField, OpenGroup().c_str());
    ShowComposeWindow(*state, state->kind == kComposeNews ? "New Newsgroup Message" : "New Email Message");
    return Pt_CONTINUE;
}
