#pragma once
// Commands to a news server and its replies (RFC 3977), the login (RFC 4643).

#include "base/outcome.h"
#include "net/stream.h"

#include <cstdint>
#include <string>
#include <vector>

/// The reply codes that mean something here.
enum NntpCode : int32_t {
    kNntpLost = -1, ///< no reply came
    kGroupSelected = 211,
    kArticleFollows = 220,
    kHeadFollows = 221,
    kArticlePosted = 240,
    kLoggedIn = 281,
    kSendArticle = 340,
    kServerCloses = 400,
    kLoginNeeded = 480,
    kServiceUnavailable = 503
};

struct NntpReply {
    int32_t code = kNntpLost; ///< 0 for a line without a number
    std::string line = {};    ///< without its end, at most 1000 bytes
    bool closed = false;      ///< no reply: the connection was closed, has failed, or is none

    bool Came() const { return code >= 0; }
    bool IsGood() const { return code / 100 == 2; }
    /// 420 no current article, 421 no next one, 423 none of that number (RFC 3977 6.1.4, 6.2.2).
    bool IsNoArticle() const { return code / 10 == 42; }
    /// What a server says to a connection that was idle for too long, before it closes it (RFC 3977 3.2.1).
    bool IsFarewell() const { return code == kServerCloses || code == kServiceUnavailable; }
};

/// The outcome of a news operation, and the texts of alerts to be shown before it, each titled "Error".
struct NewsOutcome : Outcome {
    std::vector<std::string> alerts = {};
};

/// How an operation ends whose answer does not come to its end: kStopped, or kLost with a text.
Outcome NewsLoss(bool stopped);

/// What stands for a reply that did not come.
NntpReply NoNntpReply(Stream const &stream);

/// The reply that comes next.
NntpReply ReadNntpReply(Stream &stream);

/// Sends `command` up to its first CR or LF, and reads the reply. What has arrived before answers nothing and is
/// dropped. Nothing of the command stays in memory.
NntpReply AskNntp(Stream &stream, std::string command);

/// Who logs in, when the server asks for it.
struct NewsLogin {
    char const *userName, *password;
};

/// Logs in with AUTHINFO USER and PASS. The reply to the first is not looked at; anything but 281 to the second is
/// kRefused with the server's line. A login that fails has its alerts.
NewsOutcome LogInToNews(Stream &stream, NewsLogin const &login);

/// perror for a reply that did not come.
void PrintLoss(char const *where, NntpReply const &reply);
