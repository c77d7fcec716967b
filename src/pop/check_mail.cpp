#include "pop/check_mail.h"

#include "base/paths.h"
#include "base/text.h"
#include "mime/headers.h"
#include "names/widgets.h"
#include "net/connection.h"
#include "net/line_io.h"
#include "net/session_lock.h"
#include "pop/check_widgets.h"
#include "pop/message.h"
#include "pop/pop_login.h"
#include "store/folder.h"
#include "widgets/activity.h"
#include "widgets/header_list.h"
#include "widgets/open_profile.h"
#include "widgets/server_calls.h"
#include "widgets/toolkit.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <vector>

namespace {

/// A server that claims a mailbox and then has no message for so many numbers in a row is not asked on.
constexpr int kMostMissing = 1000;

using Text = std::unique_ptr<char, void (*)(void *)>;

struct Session {
    MailProfile &profile;
    PtWidget_t *list;
    int count = 0;     ///< messages on the server
    int rows = 0;      ///< rows added
    bool whole = true; ///< nothing has failed
};

/// Sends a command and reads the reply into `reply` of kReplyWidth bytes. False when the connection is lost.
bool Ask(MailProfile &profile, char const *command, char *reply) {
    int const socket = profile.serverSocket;
    if (WriteServerLine(socket, command) > 0 && ReadServerLine(socket, reply, kReplyWidth) > 0)
        return true;
    LoseConnection(profile);
    return false;
}

/// Ends a connection left from before: every check sees a fresh list of the server's messages. The server may have
/// hung up long ago, so its answer is not waited for as long as others.
void DropOldConnection(MailProfile &profile) {
    if (profile.serverSocket <= 0)
        return;
    char reply[kReplyWidth];
    if (WriteServerLine(profile.serverSocket, "QUIT") > 0)
        ReadServerLine(profile.serverSocket, reply, sizeof reply, kKeepAliveSeconds);
    CloseConnection(profile);
}

/// Log in and ask for the number of messages.
bool Begin(Session &session) {
    if (PopLogin(session.profile) != 1)
        return false;
    char reply[kReplyWidth];
    if (!Ask(session.profile, "STAT", reply) || !StartsWithNoCase(reply, "+OK "))
        return false;
    session.count = DecimalPrefix(reply + 4);
    return true;
}

int64_t NewMessages(Session const &session) { return int64_t{session.count} - session.profile.serverMessageCount; }

/// Adds the row of one message, unless the window or the profile has gone meanwhile.
void AddRow(Session &session, char const *text, HeaderOrigin origin, int32_t number) {
    char row[kRowWidth + 1]; // shown as it is stored
    FormatHeaderRow(text, row, sizeof row);
    ToolkitGuard const guard;
    if (!session.list || ABW_treeMessageHeaders != session.list || currentProfile.Get() != &session.profile)
        return;
    // A stored message's number means something in its own folder only: in another one's list it would name, and
    // delete, somebody else's message.
    if (origin == kStored && strcmp(currentFolder, kInbox) != 0)
        return;
    if (AddHeaderRow(row, kRowWidth, origin, number, session.list, lastHeaderItem))
        session.rows++;
}

/// Shows how far the listing is. To wait for the paint of every number would take many times as long as the listing:
/// the window paints by itself, and `wait` makes sure of one.
void ShowProgress(int number, int count, bool wait) {
    ToolkitGuard const guard;
    SetStatus("Rcv " + std::to_string(number) + " of " + std::to_string(count));
    SetProgress(static_cast<int>(int64_t{number} * 100 / count));
    if (wait)
        PtFlush();
}

/// An audible signal on the terminal.
void RingBell() {
    printf("%c", 7);
    fflush(stdout);
}

/// Lists the headers of the messages that are new; they stay on the server and the connection stays open.
void ListHeaders(Session &session) {
    MailProfile &profile = session.profile;
    int missing = 0;
    int const first = profile.serverMessageCount + 1;
    for (int number = first; number <= session.count; number++) {
        Text const header(TopHeader(profile, number), free);
        missing = header ? 0 : missing + 1;
        // What was not listed for want of a connection is new at the next check.
        session.whole = profile.serverSocket > 0 && missing <= kMostMissing;
        if (missing > kMostMissing)
            SetStatus("The mail server has no headers for its messages");
        if (!session.whole)
            return;
        ShowProgress(number, session.count, number == first || number == session.count);
        AddRow(session, header.get(), kOnServer, number);
        profile.serverMessageCount++;
    }
    SetStatus("");
    RingBell();
}

/// Stores one message in the folder. Returns its number there, -1 when it could not be had or stored whole.
int32_t TakeMessage(Session &session, int number, std::string const &folder) {
    size_t length = 0;
    Text const message(getMessage(number, session.profile, 1, &length), free);
    if (!message) {
        if (session.profile.serverSocket > 0)
            SetStatus("Message " + std::to_string(number) + " could not be fetched, it stays on the server");
        return -1;
    }
    int32_t const stored = AppendMessage(folder.c_str(), {message.get(), length});
    if (stored < 0)
        SetStatus("Message " + std::to_string(number) + " could not be stored, it stays on the server");
    else
        AddRow(session, message.get(), kStored, stored);
    return stored;
}

/// The server deletes at QUIT and not before (RFC 1939 6). What is not safely on disk by then must stay there, so
/// without a sync the connection ends without a QUIT.
void Finish(Session &session, std::string const &folder, std::vector<int32_t> const &stored) {
    if (!stored.empty() && !SyncFolder(folder.c_str(), stored.data(), static_cast<int>(stored.size()))) {
        CloseConnection(session.profile);
        SetStatus("The messages could not be stored safely, they stay on the server");
        session.whole = false;
        return;
    }
    char reply[kReplyWidth];
    if (!Ask(session.profile, "QUIT", reply))
        session.whole = false;
}

/// Moves all messages into the Inbox.
void FetchMessages(Session &session) {
    MailProfile &profile = session.profile;
    std::string const folder = ConfigRoot() + profile.name + "/" + kInbox;
    std::vector<int32_t> stored;
    for (int number = 1; session.whole && number <= session.count; number++) {
        int32_t const taken = TakeMessage(session, number, folder);
        session.whole = taken >= 0;
        if (!session.whole)
            break;
        stored.push_back(taken);
        char reply[kReplyWidth];
        session.whole = Ask(profile, ("DELE " + std::to_string(number)).c_str(), reply);
        profile.serverMessageCount++;
    }
    if (profile.serverSocket > 0)
        Finish(session, folder, stored);
    if (!stored.empty())
        RingBell();
}

void ShowEnd(Session const &session) {
    ToolkitGuard const guard;
    if (session.rows > 0 && lastHeaderItem && ABW_treeMessageHeaders == session.list)
        PtGenTreeShow(session.list, &lastHeaderItem->gen);
    SetProgress(0);
}

} // namespace

int CheckMailSession(MailProfile &profile, PtWidget_t *list) {
    SessionLock lock(profile, SessionLock::kWorker);
    profile.checkWaiting = false;
    DropOldConnection(profile);
    // After a failed connection or login the activity is not ended: the star turns on.
    int32_t const socket = OpenMailConnection(profile, nullptr, kPop3);
    profile.serverSocket = socket;
    if (socket < 0) {
        lock.Unlock();
        UnblockCheckWidgets();
        return socket;
    }
    Session session{profile, list};
    if (!Begin(session)) {
        lock.Unlock();
        UnblockCheckWidgets();
        return -1;
    }
    int64_t const fresh = NewMessages(session);
    SetStatus(fresh >= 1 ? "You have " + std::to_string(fresh) + " new messages\n" : "");
    if (fresh > 0 && profile.LeavesMailOnServer())
        ListHeaders(session);
    else if (fresh > 0)
        FetchMessages(session);
    ShowEnd(session);
    lock.Unlock();
    ToolkitGuard const guard;
    EndActivity();
    return session.whole ? 1 : -1;
}
