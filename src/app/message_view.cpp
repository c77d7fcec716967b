#include "app/message_view.h"

#include "app/attachments.h"
#include "app/home_page.h"
#include "app/message_source.h"
#include "base/fd.h"
#include "base/paths.h"
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

void WriteOriginal(char const *text) {
    std::string const path = std::string(TempDir) + "originalmsg";
    Fd const file = OpenScratch(path);
    if (file.Valid() && !WriteAll(file.Get(), text))
        TellCannotWrite(path, errno);
}

/// Writes msg.html; without a text an empty page. False, with a word in lblStatus, when it cannot be written.
bool WritePage(std::string const &path, char *text, ParsedHeaders const *headers) {
    Fd const file = OpenScratch(path);
    if (!file.Valid())
        return false;
    AttachmentList attachments;
    errno = EIO;
    bool const written =
        text ? WriteMessagePage(file.Get(), text, *headers, TempDir, attachments) : WriteAll(file.Get(), kEmptyPage);
    if (!written)
        TellCannotWrite(path, errno);
    else if (lseek(file.Get(), 0, SEEK_CUR) > kLargestPage)
        SetStatus("The message is too large to be shown; its source can be viewed");
    return written;
}

void ShowText(MessageText text) {
    if (!TempDir[0]) {
        ShowHomePage();
        SetStatus("Messages cannot be shown: the user has no home directory for their pages");
        return;
    }
    auto const headers = std::make_unique<ParsedHeaders>();
    ParseHeaders(text.get(), *headers);
    WriteOriginal(text ? text.get() : "");
    RemoveTempFiles(TempDir, false);
    std::string const path = std::string(TempDir) + "msg.html";
    if (WritePage(path, text.get(), headers.get()))
        ShowPage("file://" + path);
}

int ShowServerMessage(MailProfile &profile, int32_t number) {
    MessageText text;
    {
        SessionLock const lock(profile, SessionLock::kCallback);
        if (profile.serverSocket < 1 && !EnsureConnected(profile))
            return -1;
        ClearAttachments();
        text = ServerText(profile, number);
    }
    ShowText(std::move(text));
    return Pt_CONTINUE;
}

void ShowArticle(NewsProfile &profile, int32_t number) {
    MessageText text;
    {
        SessionLock const lock(profile, SessionLock::kCallback);
        ClearAttachments();
        text = NewsText(profile, number);
    }
    ShowText(std::move(text));
}

} // namespace

int OnHeaderSelected(PtWidget_t *, ApInfo_t *, PtCallbackInfo_t *cbinfo) {
    Activity const activity;
    HeaderRow const *const row =
        Selects(*cbinfo) ? RowOf(static_cast<PtTreeCallback_t *>(cbinfo->cbdata)->item) : nullptr;
    if (!row)
        return Pt_CONTINUE;
    AccountRef<MailProfile> const profile(CurrentMailProfile());
    if (profile && row->origin == kOnServer)
        return ShowServerMessage(*profile, row->number);
    if (AccountRef<NewsProfile> const news(CurrentNewsProfile()); news && row->origin == kArticle) {
        ShowArticle(*news, row->number);
        return Pt_CONTINUE;
    }
    ClearAttachments();
    ShowText(profile && row->origin == kStored ? StoredText(*profile, currentFolder, row->number) : MessageText());
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
    ReturnToHomePage();
}
