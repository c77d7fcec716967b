#include "app/message_view.h"

#include "app/attachments.h"
#include "app/home_page.h"
#include "app/message_source.h"
#include "base/fd.h"
#include "base/paths.h"
#include "message/shown_message.h"
#include "mime/headers.h"
#include "mime/render.h"
#include "names/widgets.h"
#include "net/session_lock.h"
#include "photon/PtWebClient.h"
#include "widgets/activity.h"
#include "widgets/header_list.h"
#include "widgets/open_profile.h"
#include "widgets/toolkit.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <memory>
#include <string>
#include <unistd.h>

namespace {

constexpr char kEmptyPage[] = "<HTML><BODY></BODY></HTML>\n";
/// The page server takes no larger one.
constexpr off_t kLargestPage = off_t{16} << 20;

struct Activity {
    Activity() { BeginActivity(); }
    ~Activity() { EndActivity(); }
    Activity(Activity const &) = delete;
    Activity &operator=(Activity const &) = delete;
};

/// A finished click or a key; the button's press and further clicks of a double click show nothing.
bool Selects(PtCallbackInfo_t const &cbinfo) {
    int const clicks = static_cast<PtTreeCallback_t *>(cbinfo.cbdata)->click_count;
    unsigned long const type = cbinfo.event ? cbinfo.event->type : 0;
    return (clicks == 1 && type == Ph_EV_BUT_RELEASE) || (clicks == 0 && type == Ph_EV_KEY);
}

void TellCannotWrite(std::string const &path, int reason) {
    if (reason == ENOENT) // TempDir is made when a start finds the user's directory, so not by the very first one
        SetStatus("Messages can be shown from the next start on: please close Corvanta and start it again");
    else
        SetStatus("Cannot write " + path + ": " + strerror(reason));
}

/// Opens a file of TempDir anew; a failure is told in lblStatus.
Fd OpenScratch(std::string const &path) {
    Fd file(open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC | O_NOFOLLOW, 0600));
    if (!file.Valid())
        TellCannotWrite(path, errno);
    return file;
}

/// Up to the first NUL.
void WriteOriginal(char const *text) {
    std::string const path = std::string(TempDir) + "originalmsg";
    Fd const file = OpenScratch(path);
    if (file.Valid() && !WriteAll(file.Get(), text))
        TellCannotWrite(path, errno);
}

/// Writes msg.html; without a text an empty page. False, with the reason in lblStatus, when it cannot be written.
bool WritePage(std::string const &path, ShownMessage &message, bool empty) {
    Fd const file = OpenScratch(path);
    if (!file.Valid())
        return false;
    auto const headers = std::make_unique<ParsedHeaders>();
    ParseHeaders(message.source.c_str(), *headers);
    PartCollector parts(message);
    errno = EIO;
    bool const written = empty ? WriteAll(file.Get(), kEmptyPage)
                               : WriteMessagePage(file.Get(), message.source.c_str(), *headers, TempDir, parts);
    if (!written)
        TellCannotWrite(path, errno);
    else if (parts.LeftOut())
        SetStatus("The message has more attachments than are listed");
    else if (lseek(file.Get(), 0, SEEK_CUR) > kLargestPage)
        SetStatus("The message is too large to be shown; its source can be viewed");
    return written;
}

/// Shows a message, or an empty page when its text could not be had.
void ShowText(RowIdentity row, MessageText const &text) {
    SetShownMessage(nullptr);
    if (!TempDir[0]) {
        ShowHomePage();
        SetStatus("Messages cannot be shown: the user has no home directory for their pages");
        return;
    }
    auto const message = std::make_shared<ShownMessage>();
    message->row = std::move(row);
    if (text)
        message->source = text.Bytes();
    WriteOriginal(message->source.c_str());
    RemoveTempFiles(TempDir, false);
    std::string const path = std::string(TempDir) + "msg.html";
    if (WritePage(path, *message, !text)) {
        message->page = path;
        ShowPage("file://" + path);
    }
    if (text) {
        SetShownMessage(message);
        ListAttachments(*message);
    }
}

int ShowServerMessage(MailProfile &profile, RowIdentity const &row) {
    MessageText text;
    {
        SessionLock const lock(profile, SessionLock::kCallback);
        if (profile.serverSocket < 1 && !EnsureConnected(profile))
            return -1;
        ClearAttachments();
        text = ServerText(profile, row.number);
    }
    ShowText(row, text);
    return Pt_CONTINUE;
}

void ShowArticle(NewsProfile &profile, RowIdentity const &row) {
    MessageText text;
    {
        SessionLock const lock(profile, SessionLock::kCallback);
        ClearAttachments();
        text = NewsText(profile, row.number);
    }
    ShowText(row, text);
}

} // namespace

int OnHeaderSelected(PtWidget_t *, ApInfo_t *, PtCallbackInfo_t *cbinfo) {
    Activity const activity;
    HeaderRow const *const row =
        Selects(*cbinfo) ? RowOf(static_cast<PtTreeCallback_t *>(cbinfo->cbdata)->item) : nullptr;
    if (!row)
        return Pt_CONTINUE;
    RowIdentity const chosen = IdentityOf(*row);
    AccountRef<MailProfile> const profile(CurrentMailProfile());
    if (profile && chosen.origin == kOnServer)
        return ShowServerMessage(*profile, chosen);
    if (AccountRef<NewsProfile> const news(CurrentNewsProfile()); news && chosen.origin == kArticle) {
        ShowArticle(*news, chosen);
        return Pt_CONTINUE;
    }
    ClearAttachments();
    ShowText(chosen, profile && chosen.origin == kStored ? StoredText(*profile, chosen.folder.c_str(), chosen.number)
                                                         : MessageText());
    return Pt_CONTINUE;
}

int OnHeadersGone(PtWidget_t *, ApInfo_t *, PtCallbackInfo_t *) {
    FreeHeaderList();
    return Pt_CONTINUE;
}

int OnHome(PtWidget_t *, ApInfo_t *, PtCallbackInfo_t *) {
    ClearAttachments();
    ShowHomePage();
    return Pt_CONTINUE;
}

int OnLinkPointed(PtWidget_t *, ApInfo_t *, PtCallbackInfo_t *cbinfo) {
    static std::string shown;
    char const *const address = static_cast<char const *>(cbinfo->cbdata);
    bool const pointed = address && *address;
    // Leaving a link takes away its address, never another word that came up meanwhile.
    if (pointed || shown == WidgetText(ABW_lblStatus))
        SetStatus(pointed ? address : "");
    shown = pointed ? address : "";
    return Pt_CONTINUE;
}

void LeaveMessage() {
    ClearAttachments();
    SetShownMessage(nullptr);
    ReturnToHomePage();
}
