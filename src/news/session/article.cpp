#include "news/session/article.h"

#include "base/spool.h"
#include "net/session_lock.h"
#include "news/session/answer_copy.h"
#include "news/session/group.h"
#include "news/session/news_files.h"

#include <algorithm>
#include <cstdlib>
#include <string>

namespace {

constexpr size_t kArticlePiece = 5000;

/// The whole of the spool file.
bool ReadSpool(Spool const &spool, FetchedArticle &article) {
    auto const size = static_cast<size_t>(std::max(0L, spool.Size()));
    ArticleText text(static_cast<char *>(calloc(size + 1, 1)), free);
    if (!text || !spool.ReadBack(text.get(), size))
        return false;
    article.text = std::move(text);
    article.length = size;
    return true;
}

/// Takes the article whose status line was read.
FetchedArticle TakeArticle(NewsSession &session) {
    FetchedArticle article;
    Spool const spool(SpoolPath(session.Profile().name), Spool::kStays);
    Outcome end = spool.Valid() ? CopyBody(*session.Wire(), spool.Descriptor(), kArticlePiece, 0)
                                : Failed("The news server's answer could not be stored");
    // What came after the end mark, and what still comes of an article given up, is no answer to anything.
    if (!end || session.Wire()->HasMore())
        session.Close();
    if (end && !ReadSpool(spool, article))
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
