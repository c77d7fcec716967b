#pragma once
// Fetching one article (RFC 3977 6.2.1).

#include "base/account.h"
#include "news/session/connection.h"

#include <cstddef>
#include <memory>

/// A text from malloc, NUL-terminated; null for none.
using ArticleText = std::unique_ptr<char, void (*)(void *)>;

struct FetchedArticle {
    NewsOutcome outcome;
    ArticleText text{nullptr, free}; ///< with its CR LF, its doubled dots and its end mark; null unless kDone
    size_t length = 0;               ///< its bytes; it may hold NULs
};

/// Fetches article `number` of the account's open group. A worker calls it, without locks: it takes sessionLock. All
/// waits end within 0.1 s of `stopped` becoming true. Outcomes: kDone; kRefused with the server's line when it has no
/// such article; kLost; kStopped; kFailed (no connection, a full disk, more than 512 MB), always with a text but for
/// kStopped. A login that failed has its alerts, which the caller shows first.
FetchedArticle FetchArticle(NewsProfile &profile, int32_t number, StopPredicate const &stopped);

/// FetchArticle for a caller that holds sessionLock. The article passes through the account's spool file, which is
/// deleted afterwards. A connection that was closed, answers 400 or 503, or was never opened is made again once, with
/// its group selected.
FetchedArticle FetchArticle(NewsSession &session, int32_t number);
