#include "app/message_commands.h"

#include "app/message_source.h"
#include "base/paths.h"
#include "mime/headers.h"
#include "names/widgets.h"
#include "net/session_lock.h"
#include "pop/mailbox.h"
#include "state/uidl_log.h"
#include "store/folder.h"
#include "widgets/activity.h"
#include "widgets/header_list.h"
#include "widgets/open_profile.h"
#include "widgets/operation.h"
#include "widgets/toolkit.h"
#include "widgets/tree_walk.h"

#include <cerrno>
#include <cstring>
#include <optional>
#include <set>
#include <string>

namespace {

/// The rows that a worker is taking away, by their serial numbers: another Delete of them does nothing. Under the
/// library lock.
std::set<uint32_t> &Leaving() {
    static auto *const leaving = new std::set<uint32_t>; // workers may outlive the program's end
    return *leaving;
}

/// The selected row when it is one of the open mail profile.
std::optional<RowIdentity> SelectedMail() {
    HeaderRow const *const row = RowOf(SelectedItem(ABW_treeMessageHeaders));
    if (!row || !CurrentMailProfile() || row->folder->account.Get() != CurrentMailProfile())
        return std::nullopt;
    return IdentityOf(*row);
}

MailProfile &MailOf(RowIdentity const &row) { return static_cast<MailProfile &>(*row.account); }

/// The server numbers its messages from 1 on in its next session.
void RenumberAfter(RowIdentity const &deleted, int32_t number) {
    for (PtTreeItem_t *item = PtTreeRootItem(ABW_treeMessageHeaders); item; item = BrotherOf(item))
        if (HeaderRow *const row = RowOf(item); row && row->origin == kOnServer && row->number > number &&
                                                row->folder->account.Get() == deleted.account.Get())
            row->number--;
}

/// Deletes the row's message on the server and takes the row away. The caller holds sessionLock.
Outcome DeleteFromServer(RowIdentity const &row, int32_t number, Stop const &stop) {
    MailProfile &profile = MailOf(row);
    Outcome outcome = DeleteOnServer(profile, number, stop);
    if (!outcome)
        return outcome;
    ToolkitGuard const guard;
    RemoveHeaderRow(FindHeaderRow(row.serial));
    if (ABW_treeMessageHeaders)
        RenumberAfter(row, number);
    return outcome;
}

Outcome DeleteStored(RowIdentity const &row) {
    if (!HomeDirectory())
        return Failed("");
    errno = 0;
    int const deleted = DeleteMessage(FolderDirectory(row.account->name, row.folder).c_str(), row.number);
    if (deleted != 0 && errno != 0 && errno != ENOENT) // without an errno it was deleted before
        return Failed("Cannot delete message " + std::to_string(row.number) + " of " + row.folder + ": " +
                      strerror(errno));
    NoteDeleted(row.account->name, row.folder, row.number);
    RemoveHeaderRow(FindHeaderRow(row.serial));
    return {};
}

/// Stores the text in the folder and shows its row when that folder is open. A message that is to lose its original
/// is brought to disk. Any thread.
Outcome StoreCopy(ServerAccount &profile, std::string const &folder, std::string const &text, bool durable,
                  int32_t *stored = nullptr) {
    std::string const path = FolderDirectory(profile.name, folder);
    int32_t const number = AppendMessage(path.c_str(), text);
    if (number < 0 || (durable && !SyncFolder(path.c_str(), &number, 1)))
        return Failed("The message could not be stored in " + folder);
    if (stored)
        *stored = number;
    ToolkitGuard const guard;
    if (currentProfile.Get() == &profile && folder == currentFolder) {
        char row[kRowWidth + 1];
        AddHeaderRow(FormatHeaderRow(text.c_str(), row, sizeof row), kRowWidth, kStored, number,
                     ABW_treeMessageHeaders, lastHeaderItem);
    }
    return {};
}

Outcome FileStored(RowIdentity const &row, std::string const &folder, bool move) {
    FetchedText const fetched = StoredText(row.account->name, row.folder, row.number);
    if (!fetched.outcome)
        return fetched.outcome;
    int32_t number = 0;
    Outcome const stored = StoreCopy(*row.account, folder, fetched.text, move, &number);
    if (!stored || !move)
        return stored;
    NoteMoved(row.account->name, row.folder, row.number, folder, number);
    return DeleteStored(row);
}

/// What the commands do on the server: store a copy in `folder`, unless that is empty, then delete the message.
struct ServerWork {
    RowIdentity row;
    std::string folder;
    bool deletes;
};

Outcome Do(ServerWork const &work, Stop const &stop) {
    MailProfile &profile = MailOf(work.row);
    SessionLock const lock(profile, stop);
    int32_t const number = lock.Held() ? NumberNow(work.row) : 0;
    if (number == 0 || stop())
        return Stopped();
    if (!work.folder.empty()) {
        FetchedText const fetched = ServerText(profile, number, stop);
        if (!fetched.outcome)
            return fetched.outcome;
        Outcome stored = StoreCopy(profile, work.folder, fetched.text, work.deletes);
        if (!stored)
            return stored;
        if (work.deletes && !fetched.whole)
            return Refused("The message may be incomplete, it stays on the server, too");
    }
    return work.deletes ? DeleteFromServer(work.row, number, stop) : Outcome();
}

void End(ServerWork const &work, Outcome const &outcome, std::string const &status) {
    ToolkitGuard const guard;
    EndActivity();
    Leaving().erase(work.row.serial);
    MarkHeaderRow(work.row.serial, false);
    if (status == WidgetText(ABW_lblStatus))
        SetStatus("");
    if (outcome)
        ClearProblem();
    else
        SetProblem(outcome.text);
    PtFlush();
}

void Start(ServerWork const &work) {
    uint32_t const serial = work.row.serial;
    if (work.deletes && !Leaving().insert(serial).second)
        return;
    if (work.deletes)
        StopOperation(OperationKind::kMessage); // a message that leaves is not shown any more
    std::string const what = work.folder.empty() ? "Deleting" : work.deletes ? "Moving" : "Copying";
    std::string const status = what + " message " + std::to_string(work.row.number);
    bool const started = StartOperation(OperationKind::kOther,
                                        [work, status](Stop const &stop) { End(work, Do(work, stop), status); });
    if (!started) {
        Leaving().erase(serial);
        SetProblem(what + " was not possible: the system has no thread for it");
        return;
    }
    BeginActivity();
    MarkHeaderRow(serial, true);
    SetStatus(status);
}

void Tell(Outcome const &outcome) {
    if (outcome)
        ClearProblem();
    else
        SetProblem(outcome.text);
}

} // namespace

int OnDeleteMessage(PtWidget_t *, ApInfo_t *, PtCallbackInfo_t *) {
    std::optional<RowIdentity> const row = SelectedMail();
    if (row && row->origin == kStored)
        Tell(DeleteStored(*row));
    else if (row && row->origin == kOnServer)
        Start({*row, "", true});
    return Pt_CONTINUE;
}

int OnDeleteKey(PtWidget_t *, void *, PtCallbackInfo_t *) { return OnDeleteMessage(nullptr, nullptr, nullptr); }

void FileSelectedMessage(char const *folder, bool move) {
    std::optional<RowIdentity> const row = SelectedMail();
    if (row && row->origin == kStored && !(move && row->folder == folder))
        Tell(FileStored(*row, folder, move));
    else if (row && row->origin == kOnServer)
        Start({*row, folder, move});
}
