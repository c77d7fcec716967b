#include "news/article.h"

#include "base/fd.h"
#include "net/connection.h"
#include "news/answer_copy.h"
#include "news/news_files.h"
#include "news/nntp.h"
#include "news/nntp_ask.h"

#include <algorithm>
#include <cstdlib>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr size_t kArticlePiece = 5000;
constexpr int32_t kArticleFollows = 220, kServerCloses = 400, kServiceUnavailable = 503;

/// The file that an article passes through. It goes with this.
class Spool {
  public:
    explicit Spool(std::string path)
        : path_(std::move(path)), file_(open(path_.c_str(), O_RDWR | O_CREAT | O_TRUNC | O_CLOEXEC, 0600)) {}
    ~Spool() {
        if (file_.Valid())
            unlink(path_.c_str());
    }
    Spool(Spool const &) = delete;
    Spool &operator=(Spool const &) = delete;
    int File() const { return file_.Get(); }

  private:
    std::string path_;
    Fd file_;
};

ArticleText NoText() { return {nullptr, free}; }

ArticleText ReadSpool(int file, size_t &length) {
    struct stat state {};
    if (fstat(file, &state) != 0 || lseek(file, 0, SEEK_SET) != 0)
        return NoText();
    auto const size = static_cast<size_t>(state.st_size);
    ArticleText text(static_cast<char *>(calloc(size + 1, 1)), free);
    if (!text || ReadAll(file, text.get(), size) != static_cast<long>(size))
        return NoText();
    length = size;
    return text;
}

/// Where the download stands in its group. Selecting the group again, on a new connection, would send it back to the
/// first article.
class KeepPlace {
  public:
    explicit KeepPlace(NewsProfile &profile)
        : profile_(profile), cursor_(profile.articleCursor), done_(profile.headersDone), batch_(profile.batchSize) {}
    ~KeepPlace() {
        profile_.articleCursor = std::max<int32_t>(profile_.articleCursor, cursor_);
        profile_.headersDone = done_;
        profile_.batchSize = batch_;
    }
    KeepPlace(KeepPlace const &) = delete;
    KeepPlace &operator=(KeepPlace const &) = delete;

  private:
    NewsProfile &profile_;
    int32_t cursor_, done_, batch_;
};

/// Makes the connection anew, with the group selected that the old one had. Returns the socket, -1 after saying why
/// in `answer`.
int Reconnect(NewsProfile &profile, char const *userName, char const *password, std::string &answer) {
    CloseConnection(profile);
    int const socket = httpget(profile.server);
    if (socket < 1) {
        answer = "Could not connect to the news server";
        return -1;
    }
    profile.serverSocket = socket;
    KeepPlace const place(profile);
    if (selectnewsgroup(socket, profile, profile.currentGroup, userName, password, &answer) >= 0)
        return socket;
    // Nobody shall take this connection for one that has the group selected.
    DropNewsConnection(profile, socket);
    return -1;
}

/// Takes the article whose status line was read.
ArticleText TakeArticle(NntpReader &reader, NewsProfile &profile, int socket, std::string &answer, size_t &length) {
    Spool const spool(SpoolPath(profile.name));
    AnswerEnd const end =
        spool.File() >= 0 ? CopyBody(reader, spool.File(), kArticlePiece, 0) : AnswerEnd::kNotStored;
    // What came behind the end mark, and what still comes of an article given up, is no answer to anything.
    if (end != AnswerEnd::kMark || reader.HasMore())
        DropNewsConnection(profile, socket);
    if (end != AnswerEnd::kMark) {
        answer = ReasonOf(end);
        return NoText();
    }
    ArticleText text = ReadSpool(spool.File(), length);
    if (!text)
        answer = "The article could not be read from the disk";
    return text;
}

} // namespace

ArticleText GetNewsArticle(int socket, NewsProfile &profile, int32_t number, char const *userName,
                           char const *password, std::string &answer, size_t &length) {
    length = 0;
    std::string const command = "ARTICLE " + std::to_string(number);
    auto const stopped = WhenStopped(profile);
    NntpReader reader = AnswerReader(socket, stopped);
    int32_t code = AskNews(reader, socket, command, answer);
    // A connection that was idle for too long may say so before it is closed (RFC 3977 3.2.1).
    if ((code < 0 && !reader.Stopped()) || code == kServerCloses || code == kServiceUnavailable) {
        socket = Reconnect(profile, userName, password, answer);
        if (socket < 0)
            return NoText();
        reader = AnswerReader(socket, stopped);
        code = AskNews(reader, socket, command, answer);
    }
    if (code == kArticleFollows)
        return TakeArticle(reader, profile, socket, answer, length);
    if (code < 0)
        DropNewsConnection(profile, socket);
    return NoText();
}
