#pragma once
// A person who goes on for a long time, with real servers that come and go: what was done, and what must be true of
// it at the end.

#include "fixtures/dovecot_server.h"
#include "fixtures/inn_server.h"
#include "fixtures/postfix_server.h"

#include <map>
#include <random>
#include <set>
#include <string>

/// The three servers, the profiles "home" (alice's mail, fetched and removed) and "usenet", and the mail and articles
/// that were sent. Made before the program starts, used by the person in front of it.
class Soak {
  public:
    explicit Soak(unsigned seed);
    /// False when a server did not start.
    bool Ready() const;

    /// Does things for about this long; servers are all there again at the end. Expects no growth of memory or
    /// descriptors behind the first `warmUp` seconds.
    void Work(int seconds, int warmUp);
    /// Fetches everything, then looks for every message and article: once each, or at most once when the person
    /// was told that it failed.
    void Verify();
    /// To be called by the process that may have started some of them anew.
    void StopServers();

  private:
    int Below(int end) { return std::uniform_int_distribution<int>(0, end - 1)(random_); }
    void OneThing();
    void ShakeServers();
    bool Open(char const *row);
    void ReadSomething();
    void Send();
    void Post();
    void SendWindow(std::string const &to, std::string const &subject);
    void PutMail();
    bool AllServing();
    std::map<std::string, std::set<std::string>> Found() const;

    std::mt19937 random_;
    DovecotServer pop_;
    PostfixServer smtp_;
    InnServer news_;
    RealServer *const servers_[3] = {&pop_, &smtp_, &news_};
    int done_ = 0, alerts_ = 0;
    int pause_[3] = {0, 0, 0}; ///< things to do before a stopped server serves again; 0: it serves
    std::set<std::string> sent_, doubtful_, put_;
};
