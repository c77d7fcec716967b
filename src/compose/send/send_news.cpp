#include "compose/send/send_news.h"

#include "base/paths.h"
#include "base/text.h"
#include "compose/send/send_nntp.h"
#include "compose/send/sending.h"
#include "net/address.h"
#include "profiles/news_profile_file.h"
#include "widgets/server_calls.h"
#include "widgets/toolkit.h"

#include <cstdio>
#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

namespace {

/// Where the texts of articles go whose window closed without them being posted.
constexpr char kUnsentFile[] = "unsent";

class Posting {
  public:
    Posting(ComposeState &state, OutgoingMessage const &message, ArticleHeader const &header,
            NewsProfile const &profile)
        : state_(state), message_(message), header_(header), profile_(profile) {}

    void Run() {
        NntpEnd end = NntpEnd::kLost;
        int const socket = OpenServerConnection(profile_.server, kNntp, 1, &state_.cancelled);
        if (socket > 0) {
            SendSocket const published(state_, socket);
            SetSendProgress(state_, kConnectedProgress);
            end = Post(socket);
        }
        // Where no one may post the window closes, and the text is saved.
        if (end == NntpEnd::kPosted || (end == NntpEnd::kNotAllowed && KeepUnsent()))
            CloseSentWindow(state_);
        else
            Fail(end);
    }

  private:
    NntpEnd Post(int socket) {
        if (state_.cancelled)
            return NntpEnd::kLost;
        NntpPosting posting{.socket = socket,
                            .userName = profile_.userName,
                            .password = profile_.password,
                            .writeArticle = [&] { return Write(socket, -1); },
                            .alert = [&](std::string const &text) { AlertSender(state_, text); },
                            .cancelled = state_.cancelled};
        NntpEnd const end = PostOverNntp(posting);
        answer_ = std::move(posting.answer);
        return end;
    }

    bool Write(int socket, int file) {
        MessageSink sink(socket, file, state_.cancelled);
        WriteArticleHeader(header_, sink);
        WriteBody(state_, message_, sink, socket > 0);
        if (file >= 0)
            sink.Put("\r\n\r\n");
        sink.Flush();
        return !sink.WireFailed() && !sink.CopyFailed();
    }

    /// Appends the article to the file, whole or not at all. Another window's thread may be at it as well.
    bool AppendTo(int file) {
        off_t const before = file >= 0 && flock(file, LOCK_EX) == 0 ? lseek(file, 0, SEEK_END) : -1;
        if (before < 0)
            return false;
        if (Write(-1, file) && fdatasync(file) == 0)
            return true;
        if (ftruncate(file, before) != 0)
            perror("unsent article: ftruncate()");
        return false;
    }

    /// Saves the person's text, since the window goes. False when it cannot be saved; the window stays then.
    bool KeepUnsent() {
        if (state_.cancelled)
            return false;
        std::string const path = FolderDirectory("news", profile_.name) + kUnsentFile;
        // Nobody waits for a FIFO's reader.
        Fd file(open(path.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK, 0600));
        bool const kept = AppendTo(file.Get()) && file.Reset();
        SetStatus(kept ? "The article was not posted, its text is in " + path
                       : "The article was not posted, and its text could not be saved");
        return kept;
    }

    void Fail(NntpEnd end) {
        if (end == NntpEnd::kNoLogin)
            AlertSender(state_, "Could not authenticate to server");
        else if (end != NntpEnd::kNotAllowed) // which was told already
            AlertSender(state_, end == NntpEnd::kRefused ? answer_ : kNoConnection);
        ShowEditing(state_);
    }

    ComposeState &state_;
    OutgoingMessage const &message_;
    ArticleHeader const &header_;
    NewsProfile const &profile_;
    std::string answer_;
};

} // namespace

void PostArticle(ComposeState &state, SendInput &input) {
    ArticleHeader header{.groups = FieldValue(input.to),
                         .from = {},
                         .subject = FieldValue(input.subject),
                         .references = FieldValue(input.references)};
    std::erase(header.groups, ' ');
    if (header.groups.empty()) {
        AlertSender(state, "There is no group in the Group field that the message could be posted to");
        return;
    }
    if (!IsPlainName(input.profile)) {
        AlertSender(state, "Please select a newsgroup profile");
        return;
    }
    ShowSending(state);
    AccountRef<NewsProfile> const profile(new NewsProfile);
    ReadNewsProfile(input.profile.c_str(), *profile);
    CopyText(profile->name, input.profile);
    header.from = FieldValue(profile->emailAddress);
    OutgoingMessage message;
    FillMessage(state, message, input, *profile);
    AttachmentLoan const attachments(state);
    message.parts = attachments.Parts();
    Posting(state, message, header, *profile).Run();
}
