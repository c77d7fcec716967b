#include "app/message_commands.h"

#include "app/message_source.h"
#include "base/paths.h"
#include "mime/headers.h"
#include "names/widgets.h"
#include "net/connection.h"
#include "net/line_io.h"
#include "net/session_lock.h"
#include "profiles/profile_tree.h"
#include "store/folder.h"
#include "widgets/header_list.h"
#include "widgets/open_profile.h"
#include "widgets/toolkit.h"
#include "widgets/tree_walk.h"

#include <cstring>
#include <string>

namespace {

constexpr int kDeleteReplyWidth = 1000;

/// One command and its reply line, whose words do not matter. False when the connection is lost.
bool Exchange(int socket, char const *command) {
    char reply[kDeleteReplyWidth];
    return WriteServerLine(socket, command) > 0 && ReadServerLine(socket, reply, sizeof reply) > 0;
}

/// The next row, else the one before, takes the removed one's place: another Delete meets a row that is seen to be
/// chosen. It is not opened.
void RemoveCurrentRow(PtTreeItem_t *item) {
    PtTreeItem_t *heir = BrotherOf(item);
    if (!heir)
        heir = reinterpret_cast<PtTreeItem_t *>(item->gen.list.prev);
    RemoveHeaderRow(item);
    if (!heir)
        return;
    PtGenTreeSelect(ABW_treeMessageHeaders, &heir->gen);
    PtGenTreeGoto(ABW_treeMessageHeaders, &heir->gen);
}

/// The server numbers its messages afresh in its next session.
void RenumberBehind(int32_t number) {
    for (PtTreeItem_t *item = PtTreeRootItem(ABW_treeMessageHeaders); item; item = BrotherOf(item))
        if (HeaderRow *const row = RowOf(item); row && row->origin == kOnServer && row->number > number)
            row->number--;
}

/// A QUIT may have been carried out whose reply was lost, and which numbers the messages have then is not known: the
/// next check lists them anew.
void ForgetServerRows(MailProfile &profile) {
    for (PtTreeItem_t *item = PtTreeRootItem(ABW_treeMessageHeaders), *next; item; item = next) {
        next = BrotherOf(item);
        if (HeaderRow const *const row = RowOf(item); row && row->origin == kOnServer)
            RemoveHeaderRow(item);
    }
    profile.serverMessageCount = 0;
}

/// Deletes the row's message on the connected server and ends the session, which makes it real (RFC 1939 6). The
/// caller holds sessionLock.
void DeleteOnServer(MailProfile &profile, PtTreeItem_t *item) {
    int32_t const number = RowOf(item)->number;
    bool const marked = Exchange(profile.serverSocket, ("DELE " + std::to_string(number)).c_str());
    bool const done = marked && Exchange(profile.serverSocket, "QUIT");
    CloseConnection(profile);
    if (!done) {
        SetStatus(marked ? "The connection was lost; the next check shows whether the message is still on the server"
                         : "The connection was lost; the message is still on the server");
        if (marked)
            ForgetServerRows(profile);
        return;
    }
    profile.serverMessageCount--;
    RemoveCurrentRow(item);
    RenumberBehind(number);
}

/// The row still is the current one: the library was unlocked while another waited for sessionLock.
bool StillCurrent(PtTreeItem_t const *item, int32_t number) {
    return PtTreeGetCurrent(ABW_treeMessageHeaders) == item && RowOf(PtTreeGetCurrent(ABW_treeMessageHeaders)) &&
           static_cast<HeaderRow *>(item->data)->number == number;
}

void DeleteStored(MailProfile const &profile, PtTreeItem_t *item) {
    if (!HomeDirectory())
        return;
    DeleteMessage(FolderDirectory(profile.name, currentFolder).c_str(), RowOf(item)->number);
    RemoveCurrentRow(item);
}

/// Stores the text in the folder and shows its row when that folder is open. A message that is to lose its original
/// is brought to disk. Returns false with a word in lblStatus.
bool StoreCopy(MailProfile const &profile, char const *folder, std::string_view text, bool durable) {
    std::string const path = FolderDirectory(profile.name, folder);
    int32_t const number = AppendMessage(path.c_str(), text);
    if (number < 0 || (durable && !SyncFolder(path.c_str(), &number, 1))) {
        SetStatus(std::string("The message could not be stored in ") + folder);
        return false;
    }
    if (strcmp(folder, currentFolder) == 0) {
        char row[kRowWidth + 1];
        AddHeaderRow(FormatHeaderRow(text.data(), row, sizeof row), kRowWidth, kStored, number,
                     ABW_treeMessageHeaders, lastHeaderItem);
    }
    return true;
}

void FileStored(MailProfile const &profile, PtTreeItem_t *item, char const *folder, bool move) {
    if (move && strcmp(folder, currentFolder) == 0)
        return;
    MessageText const text = StoredText(profile, currentFolder, RowOf(item)->number);
    if (text && StoreCopy(profile, folder, text.Bytes(), move) && move)
        DeleteStored(profile, item);
}

void FileFromServer(MailProfile &profile, PtTreeItem_t *item, char const *folder, bool move) {
    int32_t const number = RowOf(item)->number;
    SessionLock const lock(profile, SessionLock::kCallback);
    if (!StillCurrent(item, number) || !EnsureConnected(profile))
        return;
    MessageText const text = ServerText(profile, number);
    if (text && StoreCopy(profile, folder, text.Bytes(), move) && move)
        DeleteOnServer(profile, item);
}

} // namespace

int OnDeleteMessage(PtWidget_t *, ApInfo_t *, PtCallbackInfo_t *) {
    PtTreeItem_t *const item = PtTreeGetCurrent(ABW_treeMessageHeaders);
    HeaderRow const *const row = RowOf(item);
    AccountRef<MailProfile> const profile(CurrentMailProfile());
    if (!row || !profile)
        return Pt_CONTINUE;
    if (row->origin == kStored)
        DeleteStored(*profile, item);
    if (row->origin != kOnServer)
        return Pt_CONTINUE;
    int32_t const number = row->number;
    SessionLock const lock(*profile, SessionLock::kCallback);
    if (!StillCurrent(item, number))
        return Pt_CONTINUE;
    if (!EnsureConnected(*profile))
        return -1;
    DeleteOnServer(*profile, item);
    return Pt_CONTINUE;
}

int OnDeleteKey(PtWidget_t *, void *, PtCallbackInfo_t *) { return OnDeleteMessage(nullptr, nullptr, nullptr); }

void FileCurrentMessage(char const *folder, bool move) {
    PtTreeItem_t *const item = PtTreeGetCurrent(ABW_treeMessageHeaders);
    HeaderRow const *const row = RowOf(item);
    AccountRef<MailProfile> const profile(CurrentMailProfile());
    if (!row || !profile)
        return;
    if (row->origin == kStored)
        FileStored(*profile, item, folder, move);
    else if (row->origin == kOnServer)
        FileFromServer(*profile, item, folder, move);
}
