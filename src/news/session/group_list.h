#pragma once
// The list of a news server's groups (RFC 3977 7.6.3).

#include "news/session/nntp.h"

/// Stores the body of the answer to LIST, dots and all, in the file `path` (made again, mode 0600), less the last
/// five bytes before the end. Logs in when asked (480). The list is asked for twice, so that a second answer may be
/// queued on the stream: nothing else can be asked on it. Outcomes: kDone; kLost when the connection ended within the
/// list, what came is in the file then; kRefused in the server's words; kStopped; kFailed (no file, more than 512 MB,
/// a full disk).
NewsOutcome FetchGroupList(Stream &stream, char const *path, NewsLogin const &login);
