#pragma once
// The calls of the news side under the names that its interface gives them: thin faces of the functions in
// news/session, with what those leave to the window (alerts, the status label). Nothing in the program calls them;
// the benchmark of header downloads calls getnewsheaders.

#include "news/session/article.h"

#include <cstdint>

/// Connects to a news server and swallows its greeting. Returns the socket, which the caller owns, or -1 with the
/// reason in lblStatus. Any thread.
int httpget(char const *server);

/// Logs in with AUTHINFO USER and PASS. Anything but 281 is shown in an alert with the server's line; the library
/// lock is taken for it when the caller does not hold it. Returns the reply's number, -1 when the connection is lost.
int NntpAuthinfo(int socket, char const *userName, char const *password);

/// Stores the server's group list in the file `path` (FetchGroupList). Returns 1, also when the connection ended
/// early, or -1 after alerts. Nothing else can be asked on the socket; the caller
/// closes it.
int getnewsgrouplisting(int socket, char const *path, char const *userName, char const *password);

/// Selects a group on the account's connection (SelectGroup). Returns the group's first article number, or -1 after
/// alerts. The caller holds sessionLock.
int32_t selectnewsgroup(int socket, NewsProfile &profile, char const *group, char const *userName,
                        char const *password);

/// Downloads `count` headers from articleCursor on (below 1: all the rest) into the header list; "rcvd n of m" shows
/// `total` last. Returns 1 after a complete download, -1 on failure. A worker calls it with sessionLock held, without
/// the library lock.
int getnewsheaders(int socket, NewsProfile &profile, int32_t count, int32_t total);

/// Fetches article `number` of the account's open group (FetchArticle). Null when there is none. The caller holds
/// sessionLock.
ArticleText GetNewsArticle(int socket, NewsProfile &profile, int32_t number);
