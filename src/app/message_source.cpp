#include "app/message_source.h"

#include "base/fd.h"
#include "base/paths.h"
#include "names/widgets.h"
#include "net/dots.h"
#include "net/session_lock.h"
#include "news/alerts.h"
#include "news/session/article.h"
#include "pop/mailbox.h"
#include "widgets/toolkit.h"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>

namespace {

constexpr size_t kLargestMessageFile = INT32_MAX; ///< what the index and a part's length can count

/// What a session writes into the status label during its life.
class Told {
  public:
    Told() : before_(Status()) {}
    /// That, else `text`.
    std::string Or(char const *text) const {
        std::string told = Status();
        return told.empty() || told == before_ ? text : told;
    }

  private:
    static std::string Status() {
        ToolkitGuard const guard;
        return WidgetText(ABW_lblStatus);
    }
    std::string const before_;
};

FetchedText NewsText(NewsProfile &profile, int32_t number, Stop const &stop, SessionLock &lock) {
    FetchedArticle article = [&] {
        NewsSession session(profile, stop);
        return FetchArticle(session, number);
    }();
    lock.Unlock();
    ShowAlerts(article.outcome);
    if (!article.text)
        return {std::move(article.outcome)};
    char *const text = article.text.get();
    size_t const length = UndoDots(text, std::min(article.length, FindTextEnd({text, article.length}, 0)));
    return {{}, std::string(text, length)};
}

} // namespace

FetchedText StoredText(std::string const &profile, std::string const &folder, int32_t number) {
    if (!HomeDirectory())
        return {Failed("")};
    std::string const path = FolderDirectory(profile, folder) + std::to_string(number);
    if (std::optional<std::string> text = ReadRegularFile(path, kLargestMessageFile, O_NOFOLLOW))
        return {{}, std::move(*text)};
    return {Failed("Cannot read message " + std::to_string(number) + " of " + folder + ": " + strerror(errno))};
}

int32_t NumberNow(RowIdentity const &row) {
    ToolkitGuard const guard;
    HeaderRow const *const now = RowOf(FindHeaderRow(row.serial));
    return now ? now->number : 0;
}

FetchedText ServerText(MailProfile &profile, int32_t number, Stop const &stop) {
    FetchedMessage message = FetchMessage(profile, number, stop);
    return {std::move(message.outcome), std::move(message.text), message.asked, message.whole};
}

FetchedText FetchText(RowIdentity const &row, Stop const &stop) {
    if (row.origin == kStored)
        return StoredText(row.account->name, row.folder, row.number);
    SessionLock lock(*row.account, stop);
    int32_t const number = lock.Held() ? NumberNow(row) : 0;
    if (number == 0 || stop())
        return {Stopped(), {}, false};
    if (row.origin == kArticle)
        return NewsText(static_cast<NewsProfile &>(*row.account), number, stop, lock);
    return ServerText(static_cast<MailProfile &>(*row.account), number, stop);
}
