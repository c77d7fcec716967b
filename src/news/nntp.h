#pragma once
// Talking to a news server (RFC 3977, AUTHINFO of RFC 4643). Status lines are read to their line end however they
// arrive; every wait is bounded as all sockets are, and ends within 0.1 s once the account's download is stopped.
// The caller holds the account's sessionLock. On the main thread the caller also holds the library lock, and the
// window is painted while the server says nothing.

#include "base/account.h"

#include <atomic>
#include <cstdint>
#include <string>

/// Opens a connection to a news server and swallows its greeting. Returns the socket or -1. Any thread.
/// `cancelled` as in OpenServerConnection.
int httpget(char const *server, std::atomic<bool> const *cancelled = nullptr);

/// Logs in with AUTHINFO USER and PASS. Anything but 281 is shown in an alert with the server's line; the library
/// lock is taken for it when the caller does not hold it. Returns the reply's number, -1 when the connection is lost.
int NntpAuthinfo(int socket, char const *userName, char const *password);

/// Asks for the server's group list and stores the answer's body, dots and all, in the file `path` (made anew, mode
/// 0600), less the last five bytes before the end. Logs in when asked (480). Returns 1, also when the connection
/// ended early, or -1 (no file, no list, login refused, more than 512 MB). The list is asked for twice, so that a
/// second answer may be queued on the socket: nothing else can be asked on it. When it is the account's connection it
/// is closed here, otherwise the caller does that.
int getnewsgrouplisting(int socket, NewsProfile &profile, char const *path, char const *userName,
                        char const *password);

/// Selects a group: fills articleCount, articleCursor, lastArticle, sets headersDone to 0 for every reply, and for
/// 211 batchSize to 0 and the file list_<group> to the group's article numbers (4 bytes each, little-endian). Logs in
/// when asked (480). Returns the group's first article number, or -1. `answer`, when not null, gets the server's
/// line, or what went wrong. A connection that failed on the way is closed when it is the account's.
int32_t selectnewsgroup(int socket, NewsProfile &profile, char const *group, char const *userName,
                        char const *password, std::string *answer = nullptr);
