#include "profiles/address_book.h"

#include "base/paths.h"
#include "names/widgets.h"
#include "profiles/address_book_file.h"
#include "profiles/profile_tree.h"
#include "widgets/header_list.h"
#include "widgets/toolkit.h"
#include "widgets/tree_walk.h"

#include <algorithm>
#include <climits>
#include <optional>

namespace {

constexpr unsigned short kWidth = 376, kFolded = 178, kUnfolded = 280;

std::string shownBook; ///< the book whose contacts the list shows
std::string takenOut;  ///< the row that Edit has moved from the list into the fields; empty for none

void SetHeight(unsigned short height) {
    PhDim_t const size{kWidth, height};
    PtSetResource(ABW_winAddressBook, Pt_ARG_DIM, &size, 0);
}

void SetFields(Contact const &contact) {
    SetWidgetText(ABW_txtContactName, contact.name.c_str());
    SetWidgetText(ABW_txtContactEmail, contact.address.c_str());
    SetWidgetText(ABW_txtContactMisc, contact.note.c_str());
}

void Unfold(char const *job, Contact const &contact) {
    SetWidgetText(ABW_lblContactJob, job);
    SetFields(contact);
    PtRealizeWidget(ABW_paneContact);
    SetHeight(kUnfolded);
    PtContainerGiveFocus(ABW_txtContactName, nullptr);
}

void Fold() {
    PtUnrealizeWidget(ABW_paneContact);
    SetHeight(kFolded);
}

void FoldAndClear() {
    Fold();
    SetFields({});
}

void Load(std::string const &root, std::string const &book) {
    PtGenTreeFreeAllItems(ABW_treeContacts);
    takenOut.clear();
    std::string const text = LoadBook(BookPath(root, book));
    PtTreeItem_t *previous = nullptr;
    for (std::string_view const row : BookRows(text))
        AddHeaderItem(std::string(row).c_str(), ABW_treeContacts, previous);
    shownBook = book;
}

/// The list of the combo box; its text becomes `book`.
void FillBooks(std::string const &root, std::string const &book) {
    std::vector<char const *> items;
    std::vector<std::string> const names = BookNames(root);
    for (std::string const &name : names)
        items.push_back(name.c_str());
    items.resize(std::min<size_t>(items.size(), USHRT_MAX));
    PtListDeleteAllItems(ABW_cmbAddressBook);
    PtListAddItems(ABW_cmbAddressBook, items.data(), static_cast<int>(items.size()), 0);
    SetWidgetText(ABW_cmbAddressBook, book.c_str());
}

/// After every change: shown as it is on disk, nothing pending.
void ShowChanged(std::string const &root, std::string const &book) {
    Load(root, book);
    FillBooks(root, book);
    SetWidgetText(ABW_lblContactJob, "");
}

/// All rows of the list, and what Edit has taken out of it, but the row `without`; one line each.
std::string ListText(PtTreeItem_t const *without) {
    std::string text;
    for (PtTreeItem_t const *item = PtTreeRootItem(ABW_treeContacts); item; item = BrotherOf(item))
        if (item != without)
            text.append(item->string).append("\n");
    return text;
}

/// Puts the row that Edit has taken out back into the list, first.
void PutBack() {
    PtTreeItem_t *previous = nullptr;
    if (!takenOut.empty())
        AddHeaderItem(takenOut.c_str(), ABW_treeContacts, previous);
    takenOut.clear();
}

/// The book that the combo box names, when it can be written: `whole` when the list is to replace what is in it. Else
/// an alert and nothing.
std::optional<std::string> BookToWrite(std::string const &root, bool whole) {
    std::string const book = WidgetText(ABW_cmbAddressBook);
    std::vector<std::string> const names = BookNames(root);
    if (!IsBookName(root, book))
        ShowError(ABW_winAddressBook, "Error", "An address book cannot have this name.");
    else if (whole && book != shownBook && std::find(names.begin(), names.end(), book) != names.end())
        // Typed, not chosen: its contacts would be lost.
        ShowError(ABW_winAddressBook, "Error", "Choose this address book from the list first.");
    else
        return book;
    return std::nullopt;
}

/// Adds or replaces a contact by the fields. False when the book cannot be written.
bool Store(std::string const &path, bool add) {
    std::string const row =
        ContactRow({WidgetText(ABW_txtContactName), WidgetText(ABW_txtContactEmail), WidgetText(ABW_txtContactMisc)});
    return add ? AppendToBook(path, row) : WriteBook(path, ListText(nullptr) + row + "\n");
}

PtWidget_t *Target() {
    PtWidget_t *target = nullptr;
    if (ABW_winAddressBook)
        PtGetResource(ABW_winAddressBook, Pt_ARG_POINTER, &target, 0);
    return target;
}

int OnTargetDestroyed(PtWidget_t *field, void *, PtCallbackInfo_t *) {
    ForgetAddressTarget(field);
    return Pt_CONTINUE;
}

void SetTarget(PtWidget_t *target) {
    if (PtWidget_t *const old = Target())
        PtRemoveCallback(old, Pt_CB_DESTROYED, OnTargetDestroyed, nullptr);
    PtSetResource(ABW_winAddressBook, Pt_ARG_POINTER, target, 0);
    if (target)
        PtAddCallback(target, Pt_CB_DESTROYED, OnTargetDestroyed, nullptr);
}

} // namespace

void OpenAddressBook(PtWidget_t *target) {
    bool const wasFolded = ABW_paneContact && !PtWidgetIsRealized(ABW_paneContact);
    if (!ApCreateModule(&ABM_winAddressBook, nullptr, nullptr))
        return;
    // The window that was open already is realized once more, with all that is in it.
    if (wasFolded)
        Fold();
    SetTarget(target);
}

void ForgetAddressTarget(PtWidget_t *field) {
    if (field && field == Target())
        SetTarget(nullptr);
}

int OnAddressBook(PtWidget_t *, ApInfo_t *, PtCallbackInfo_t *) {
    OpenAddressBook(nullptr);
    return Pt_CONTINUE;
}

int OnAddressBookRealized(PtWidget_t *window, ApInfo_t *, PtCallbackInfo_t *) {
    PtSetResource(window, Pt_ARG_WINDOW_NOTIFY_FLAGS, Pt_TRUE, Ph_WM_CLOSE);
    FoldAndClear();
    SetWidgetText(ABW_lblContactJob, "");
    if (std::optional<std::string> const root = FindConfigRoot()) {
        Load(*root, kFirstBook);
        FillBooks(*root, kFirstBook);
    }
    return Pt_CONTINUE;
}

int OnAddressBookWindow(PtWidget_t *, ApInfo_t *, PtCallbackInfo_t *) {
    Fold();
    return Pt_CONTINUE;
}

int OnBookChosen(PtWidget_t *, ApInfo_t *, PtCallbackInfo_t *cbinfo) {
    auto const *const choice = static_cast<PtListCallback_t const *>(cbinfo->cbdata);
    if (std::optional<std::string> const root = FindConfigRoot())
        Load(*root, std::string(choice->item, choice->item_len));
    return Pt_CONTINUE;
}

int OnContactSelected(PtWidget_t *, ApInfo_t *, PtCallbackInfo_t *cbinfo) {
    auto const *const choice = static_cast<PtTreeCallback_t const *>(cbinfo->cbdata);
    PtWidget_t *const target = Target();
    if (choice->click_count != 2 || !cbinfo->event || cbinfo->event->type != Ph_EV_BUT_RELEASE || !target)
        return Pt_CONTINUE;
    // A window that is sending keeps its recipients.
    std::string const address(ContactAddress(choice->item->string));
    if (address.empty() || (PtWidgetFlags(target) & (Pt_BLOCKED | Pt_GHOST)))
        return Pt_CONTINUE;
    if (*WidgetText(target))
        PtTextModifyText(target, 0, 0, -1, ", ", 2);
    PtContainerGiveFocus(target, nullptr);
    PtTextModifyText(target, 0, 0, -1, address.c_str(), static_cast<int>(address.size()));
    return Pt_CONTINUE;
}

int OnAddContact(PtWidget_t *, ApInfo_t *, PtCallbackInfo_t *) {
    PutBack();
    Unfold("Add", {});
    return Pt_CONTINUE;
}

int OnEditContact(PtWidget_t *, ApInfo_t *, PtCallbackInfo_t *) {
    PtTreeItem_t *const item = SelectedItem(ABW_treeContacts);
    if (!item)
        return Pt_CONTINUE;
    PutBack();
    takenOut = item->string;
    Unfold("Edit", SplitContact(takenOut));
    PtGenTreeRemoveItem(ABW_treeContacts, &item->gen);
    PtGenTreeFreeItems(&item->gen);
    return Pt_CONTINUE;
}

int OnDeleteContact(PtWidget_t *, ApInfo_t *, PtCallbackInfo_t *) {
    std::optional<std::string> const root = FindConfigRoot();
    PtTreeItem_t const *const item = SelectedItem(ABW_treeContacts);
    if (!root || !item)
        return Pt_CONTINUE;
    std::optional<std::string> const book = BookToWrite(*root, true);
    if (!book)
        return Pt_CONTINUE;
    PutBack();
    WriteBook(BookPath(*root, *book), ListText(item));
    FoldAndClear();
    ShowChanged(*root, *book);
    return Pt_CONTINUE;
}

int OnSaveContacts(PtWidget_t *, ApInfo_t *, PtCallbackInfo_t *) {
    std::optional<std::string> const root = FindConfigRoot();
    std::string const job = WidgetText(ABW_lblContactJob);
    bool const add = job == "Add";
    if (!root || (!add && job != "Edit")) {
        SetWidgetText(ABW_lblContactJob, "");
        return Pt_CONTINUE;
    }
    std::optional<std::string> const book = BookToWrite(*root, !add);
    if (!book)
        return Pt_CONTINUE;
    if (Store(BookPath(*root, *book), add))
        FoldAndClear();
    ShowChanged(*root, *book);
    return Pt_CONTINUE;
}

int OnContactVerify(PtWidget_t *, ApInfo_t *, PtCallbackInfo_t *cbinfo) {
    auto *const change = static_cast<PtTextCallback_t *>(cbinfo->cbdata);
    if (change->length <= 0 || !change->text)
        return Pt_CONTINUE;
    // These are one byte in UTF-8, so the count of characters stays.
    for (char *at = change->text; *at; at++)
        if (*at == '\t' || *at == '\r' || *at == '\n')
            *at = ' ';
    return Pt_CONTINUE;
}
