#include "news/session/article.h"

#include "base/fd.h"
#include "net/session_lock.h"
#include "news/session/answer_copy.h"
#include "news/session/group.h"
#include "news/session/news_files.h"

#include <cstdlib>
#include <fcntl.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr size_t kArticlePiece = 5000;

/// The file that an article passes through. It goes with this.
class Spool {
  public:
    explicit Spool(std::string path) : path_(std::move(path)) {
        // What is no file (a directory, a FIFO) must not stop the news: another name does, too.
        file_ = Fd(open(path_.c_str(), O_RDWR | O_CREAT | O_TRUNC | O_CLOEXEC | O_NONBLOCK, 0600));
        if (file_.Valid() && !IsFifo())
            return;
        path_ += ".XXXXXX";
        file_ = Fd(mkostemp(path_.data(), O_CLOEXEC));
    }
    ~Spool() {
        if (file_.Valid())
            unlink(path_.c_str());
    }
    Spool(Spool const &) = delete;
    Spool &operator=(Spool const &) = delete;
    int File() const { return file_.Get(); }

  private:
    bool IsFifo() const {
        struct stat info {};
        return fstat(file_.Get(), &info) != 0 || S_ISFIFO(info.st_mode);
    }
    std::string path_;
    Fd file_;
};

/// The whole of the spool file.
bool ReadSpool(int file, FetchedArticle &article) {
    struct stat info {};
    if (fstat(file, &info) != 0 || lseek(file, 0, SEEK_SET) != 0)
        return false;
    auto const size = static_cast<size_t>(info.st_size);
    ArticleText text(static_cast<char *>(calloc(size + 1, 1)), free);
    if (!text || ReadAll(file, text.get(), size) != static_cast<long>(size))
        return false;
    article.text = std::move(text);
    article.length = size;
    return true;
}

/// Takes the article whose status line was read.
FetchedArticle TakeArticle(NewsSession &session) {
    FetchedArticle article;
    Spool const spool(SpoolPath(session.Profile().name));
    Outcome end = spool.File() >= 0 ? CopyBody(*session.Wire(), spool.File(), kArticlePiece, 0)
                                    : Failed("The news server's answer could not be stored");
    // What came after the end mark, and what still comes of an article given up, is no answer to anything.
    if (!end || session.Wire()->HasMore())
        session.Close();
    if (end && !ReadSpool(spool.File(), article))
        end = Failed("The article could not be read from the disk");
    article.outcome = {std::move(end)};
    return article;
}

} // namespace

FetchedArticle FetchArticle(NewsSession &session, int32_t number) {
    std::string const command = "ARTICLE " + std::to_string(number);
    NntpReply reply = session.Ask(command);
    if (session.WasIdle()) {
        if (NewsOutcome end = ReopenGroup(session); !end)
            return {std::move(end)};
        reply = session.Ask(command);
    }
    if (reply.code == kArticleFollows)
        return TakeArticle(session);
    return {{reply.Came() ? Refused(reply.line) : session.Loss()}};
}

FetchedArticle FetchArticle(NewsProfile &profile, int32_t number, StopPredicate const &stopped) {
    SessionLock const lock(profile, stopped);
    if (!lock.Held() || (stopped && stopped()))
        return {{Stopped()}};
    NewsSession session(profile, stopped);
    return FetchArticle(session, number);
}
