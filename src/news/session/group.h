#pragma once
// Selecting a group and the numbers of its articles (RFC 3977 6.1.1, 6.1.2).

#include "news/session/connection.h"

#include <functional>
#include <string>

/// Selects a group on the account's connection: fills articleCount, articleCursor and lastArticle as far as the
/// answer has them, sets headersDone to 0 for every answer, and for 211 batchSize to 0 and the file list_<group> to
/// the group's article numbers (4 bytes each, little-endian). Logs in when asked (480). A server that refuses the
/// numbers leaves the file empty and its words in noNumbers. A connection that fails on the way is closed. Outcomes:
/// kDone; kRefused in the server's words; kLost; kStopped; kFailed for a name that is none (IsGroupName) or too many
/// numbers.
NewsOutcome SelectGroup(NewsSession &session, std::string const &group, NewsLogin const &login);

/// What is shown while it lasts: "Connecting to news server", then "opening group".
using NewsStep = std::function<void(char const *)>;

/// Makes the account's connection have `group` selected: connects when there is none, and again when the one that is
/// there has ended since. Outcomes as OpenNewsStream's and SelectGroup's.
NewsOutcome OpenGroup(NewsSession &session, std::string const &group, NewsStep const &step);

/// Makes another connection with the group selected that the last one had. The next download goes on where the last
/// one ended. Outcomes as OpenGroup's; unless it is kDone there is no connection.
NewsOutcome ReopenGroup(NewsSession &session);
