#include "news/nntp.h"

#include "base/text.h"
#include "names/widgets.h"
#include "news/alerts.h"
#include "news/header_rows.h"
#include "news/session/group.h"
#include "news/session/group_list.h"
#include "widgets/toolkit.h"

#include <algorithm>
#include <fcntl.h>
#include <utility>

namespace {

/// A second descriptor of a socket: the first one stays the caller's.
Fd Again(int socket) { return Fd(fcntl(socket, F_DUPFD_CLOEXEC, 3)); }

} // namespace

int httpget(char const *server) {
    OpenedStream const opened = OpenNewsStream(server, {});
    if (opened.outcome)
        return Again(opened.stream->Descriptor()).Release();
    SetStatus(opened.outcome.text);
    return -1;
}

int NntpAuthinfo(int socket, char const *userName, char const *password) {
    Stream stream(PlainChannel(Again(socket)));
    NewsOutcome const login = LogInToNews(stream, {userName, password});
    if (login)
        return kLoggedIn;
    if (login.ending != Ending::kRefused)
        return -1;
    ToolkitGuard const guard;
    ShowError(ABW_base, "Error", login.text.c_str());
    return std::max(0, DecimalPrefix(login.text));
}

int getnewsgrouplisting(int socket, char const *path, char const *userName, char const *password) {
    Stream stream(PlainChannel(Again(socket)));
    NewsOutcome const end = FetchGroupList(stream, path, {userName, password});
    ShowAlerts(end);
    return end || (end.ending == Ending::kLost && end.alerts.empty()) ? 1 : -1;
}

int32_t selectnewsgroup(int, NewsProfile &profile, char const *group, char const *userName, char const *password) {
    NewsSession session(profile, {});
    NewsOutcome const end = SelectGroup(session, group, {userName, password});
    ShowAlerts(end);
    return end ? profile.articleCursor.load() : -1;
}

int getnewsheaders(int, NewsProfile &profile, int32_t count, int32_t total) {
    HeaderRows rows(total);
    NewsSession session(profile, {});
    NewsOutcome const end = FetchHeaders(session, count, rows);
    if (end)
        rows.ShowLast();
    else if (end.ending == Ending::kLost)
        SetStatus("Done.");
    return end ? 1 : -1;
}

ArticleText GetNewsArticle(int, NewsProfile &profile, int32_t number) {
    NewsSession session(profile, {});
    FetchedArticle article = FetchArticle(session, number);
    ShowAlerts(article.outcome);
    return std::move(article.text);
}
