#pragma once
// An account's connection to its news server, as one operation uses it.

#include "base/account.h"
#include "net/connection.h"
#include "news/session/nntp.h"

/// OpenStream to a news server, with its greeting read. Whatever the greeting says, it is a connection. kFailed with
/// "The news server does not answer" when none comes.
OpenedStream OpenNewsStream(char const *server, StopPredicate const &stopped);

/// The caller holds the account's sessionLock for as long as this lives.
class NewsSession {
  public:
    /// All waits end within 0.1 s of `stopped` becoming true; may be empty.
    NewsSession(NewsProfile &profile, StopPredicate stopped);
    ~NewsSession();
    NewsSession(NewsSession const &) = delete;
    NewsSession &operator=(NewsSession const &) = delete;

    NewsProfile &Profile() const { return profile_; }
    NewsLogin Login() const { return {profile_.userName, profile_.password}; }
    /// The connection, null when there is none.
    Stream *Wire() const { return StreamOf(profile_); }
    bool Stopped() const { return stopped_ && stopped_(); }
    Outcome Loss() const { return NewsLoss(Stopped()); }

    /// Closes the connection that is there and makes another. Outcomes as OpenNewsStream's.
    Outcome Connect();
    /// Closes the connection: what still comes on it would be taken for the next answer. Which group it had selected
    /// stays known.
    void Close() { CloseConnection(profile_); }
    /// AskNntp on the connection, which is closed when no reply comes.
    NntpReply Ask(std::string const &command);
    /// True when the last command may have failed only since the connection was idle for too long. One that this
    /// operation has made was not.
    bool WasIdle() const { return idle_ && !fresh_ && !Stopped(); }

  private:
    NewsProfile &profile_;
    StopPredicate stopped_;
    bool fresh_ = false;
    bool idle_ = false;
};
