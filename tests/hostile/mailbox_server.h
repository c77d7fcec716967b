#pragma once
// A small POP3 server with one mailbox (RFC 1939), which deletes at QUIT and not before: what a session that is
// stopped anywhere must be measured by.

#include <atomic>
#include <cstdint>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

/// What is sent instead of one reply of a session.
struct Fault {
    int reply = -1; ///< 0 is the greeting, 1 the reply to the first command; -1 is none
    /// Makes what is sent from the reply that it should have been.
    std::function<std::string(std::string const &)> bytes = {};
    size_t times = 1; ///< how often that is sent, one after another
    size_t piece = 0; ///< bytes sent at a time; 0 is as many as there are
    enum { kGoOn, kClose, kReset } then = kGoOn;
};

/// A way to misbehave at any reply: `fault` without the number of the reply.
struct Misbehaviour {
    char const *name;
    Fault fault;
    enum {
        kOdd,      ///< what comes of it depends
        kHarmless, ///< the session must not notice
        kRefusing, ///< the reply is a plain no
        kLosing    ///< the connection cannot be used after it
    } effect = kOdd;
};

/// Ends, stops, bytes and lengths that no reply should have.
std::vector<Misbehaviour> Misbehaviours();

class MailboxServer {
  public:
    /// `modern` servers know CAPA, UIDL and LIST and take commands ahead; `cutAfter` bytes of its own the first
    /// session ends in the middle of whatever it is.
    explicit MailboxServer(std::vector<std::string> messages, Fault fault = {}, bool modern = false,
                           size_t cutAfter = SIZE_MAX);
    ~MailboxServer();
    MailboxServer(MailboxServer const &) = delete;
    MailboxServer &operator=(MailboxServer const &) = delete;

    std::string Address() const { return "127.0.0.1:" + std::to_string(port_); }
    /// The messages that are still there. A session that is running is waited for.
    std::vector<std::string> Messages();
    /// Bytes that the last session sent.
    size_t Sent();

  private:
    void Serve();
    void Session(int socket);
    bool Reply(int socket, std::string const &reply, int number);
    std::string Answer(std::string const &line, std::vector<bool> &marked);

    std::vector<std::string> messages_; ///< under mutex_, held for a whole session
    std::vector<std::string> uids_;     ///< likewise
    bool const modern_;
    size_t cutAfter_, sent_ = 0;
    std::mutex mutex_;
    Fault fault_;
    int port_ = 0;
    int listener_;
    std::atomic<bool> stopping_ = false;
    std::thread thread_;
};
