#include "app/message_view.h"

#include "app/attachments.h"
#include "app/home_page.h"
#include "app/message_source.h"
#include "base/fd.h"
#include "base/scratch.h"
#include "message/shown_message.h"
#include "mime/render.h"
#include "names/widgets.h"
#include "photon/PtWebClient.h"
#include "widgets/activity.h"
#include "widgets/header_list.h"
#include "widgets/open_profile.h"
#include "widgets/operation.h"
#include "widgets/toolkit.h"
#include "widgets/tree_walk.h"

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

/// A finished click or a key; the button's press and further clicks of a double click show nothing.
bool Selects(PtCallbackInfo_t const &cbinfo) {
    int const clicks = static_cast<PtTreeCallback_t *>(cbinfo.cbdata)->click_count;
    unsigned long const type = cbinfo.event ? cbinfo.event->type : 0;
    return (clicks == 1 && type == Ph_EV_BUT_RELEASE) || (clicks == 0 && type == Ph_EV_KEY);
}

void TellCannotWrite(std::string const &path, int reason) {
    if (reason == ENOENT) // TempDir is made when a start finds the user's directory, so not by the very first one
        SetProblem("Messages can be shown from the next start on: please close Corvanta and start it again");
    else
        SetProblem("Cannot write " + path + ": " + strerror(reason));
}

/// Opens a file of TempDir for writing; a failure is told in lblStatus.
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
    else if (!parts.FailedImage().empty())
        TellCannotWrite(parts.FailedImage(), parts.FailedReason());
    else if (parts.LeftOut())
        SetProblem("The message has more attachments than are listed");
    else if (lseek(file.Get(), 0, SEEK_CUR) > kLargestPage)
        SetProblem("The message is too large to be shown; its source can be viewed");
    return written;
}

/// Shows a message, or an empty page and why its text could not be had.
void ShowText(RowIdentity const &row, FetchedText const &fetched) {
    ClearAttachments();
    SetShownMessage(nullptr);
    if (!TempDir[0]) {
        ShowHomePage();
        SetProblem("Messages cannot be shown: the user has no home directory for their pages");
        return;
    }
    bool const had{fetched.outcome};
    if (had)
        ClearProblem();
    auto const message = std::make_shared<ShownMessage>();
    message->row = row;
    message->source = fetched.text;
    WriteOriginal(message->source.c_str());
    RemoveTempFiles(TempDir, false);
    std::string const path = std::string(TempDir) + "msg.html";
    if (WritePage(path, *message, !had)) {
        message->page = path;
        ShowPage("file://" + path);
    }
    if (had) {
        SetShownMessage(message);
        ListAttachments(*message);
    }
    SetProblem(fetched.outcome.text);
}

bool IsChosen(RowIdentity const &row) {
    HeaderRow const *const chosen = ABW_treeMessageHeaders ? RowOf(SelectedItem(ABW_treeMessageHeaders)) : nullptr;
    return chosen && chosen->serial == row.serial && row.account.Get() == currentProfile.Get();
}

/// The end of a fetch, on its worker. Without a connection everything stays as it was; a text that is not
/// wanted any more is dropped.
void EndFetch(RowIdentity const &row, FetchedText const &fetched, std::string const &status, Stop const &stop) {
    ToolkitGuard const guard;
    EndActivity();
    MarkHeaderRow(row.serial, false);
    if (status == WidgetText(ABW_lblStatus))
        SetStatus("");
    bool const wanted = !stop() && fetched.outcome.ending != Ending::kStopped && IsChosen(row);
    if (wanted && fetched.reached)
        ShowText(row, fetched);
    else if (wanted)
        SetProblem(fetched.outcome.text);
    PtFlush();
}

/// Fetches the message of a row from its server and shows it, unless another row is chosen before that.
void StartFetch(RowIdentity const &row) {
    std::string const status =
        (row.origin == kArticle ? "Fetching article " : "Fetching message ") + std::to_string(row.number);
    bool const started = StartOperation(OperationKind::kMessage, [row, status](Stop const &stop) {
        EndFetch(row, FetchText(row, stop), status, stop);
    });
    if (!started) {
        SetProblem("The message could not be fetched: the system has no thread for it");
        return;
    }
    BeginActivity();
    MarkHeaderRow(row.serial, true);
    SetStatus(status);
}

} // namespace

int OnHeaderSelected(PtWidget_t *, ApInfo_t *, PtCallbackInfo_t *cbinfo) {
    HeaderRow const *const row =
        Selects(*cbinfo) ? RowOf(static_cast<PtTreeCallback_t *>(cbinfo->cbdata)->item) : nullptr;
    if (!row)
        return Pt_CONTINUE;
    RowIdentity const chosen = IdentityOf(*row);
    bool const open = chosen.account && chosen.account.Get() == currentProfile.Get();
    if (open && chosen.origin != kStored) {
        StartFetch(chosen);
        return Pt_CONTINUE;
    }
    StopOperation(OperationKind::kMessage);
    BeginActivity();
    ShowText(chosen, open ? FetchText(chosen, Stop()) : FetchedText{Failed("")});
    EndActivity();
    return Pt_CONTINUE;
}

int OnHeadersUnrealized(PtWidget_t *, ApInfo_t *, PtCallbackInfo_t *) {
    FreeHeaderList();
    return Pt_CONTINUE;
}

int OnHome(PtWidget_t *, ApInfo_t *, PtCallbackInfo_t *) {
    StopOperation(OperationKind::kMessage);
    ClearAttachments();
    ShowHomePage();
    return Pt_CONTINUE;
}

int OnLinkPointed(PtWidget_t *, ApInfo_t *, PtCallbackInfo_t *cbinfo) {
    static std::string shown;
    char const *const address = static_cast<char const *>(cbinfo->cbdata);
    bool const pointed = address && *address;
    // Leaving a link takes away its address, never a text that came up since.
    if (pointed || shown == WidgetText(ABW_lblStatus))
        SetStatus(pointed ? address : "");
    shown = pointed ? address : "";
    return Pt_CONTINUE;
}

void LeaveMessage() {
    StopOperation(OperationKind::kMessage);
    ClearAttachments();
    SetShownMessage(nullptr);
    ReturnToHomePage();
}
