#pragma once
// The POP3 dialogue up to the messages. Private to this folder.

#include "pop/standard/receive.h"

#include <map>
#include <memory>
#include <vector>

struct ServerMessage {
    int number = 0;
    int64_t size = 0; ///< in bytes, as the server counts them
    std::string uid;  ///< empty without UIDL
};

class PopSession {
  public:
    /// Connects, reads the greeting and the capabilities.
    Outcome Open(ReceiveRequest const &request, StopPredicate const &stopped);

    /// Signs in with the best mechanism there is. `refused` tells that the server did not take user name or password.
    Outcome SignIn(ReceiveRequest const &request, bool &refused);

    /// The messages that are there. `hasUids` is false for a server without UIDL, or with identifiers that are none.
    Outcome List(std::vector<ServerMessage> &messages, bool &hasUids);

    /// QUIT, which makes the server delete what is marked (RFC 1939 6).
    Outcome Quit();

    bool MayPipeline() const { return pipelining_; }
    Stream &Connection() { return *stream_; }

    /// Reads one reply line. Not done when the server refused or the connection is lost; `words` gets the line.
    Outcome ReadReply(std::string &words);
    Outcome Ask(std::string const &command, std::string &words);
    /// What to tell about the end of the connection.
    Outcome EndOfConnection() const;

  private:
    Outcome ReadCapabilities();
    Outcome SignInWithUser(Credentials const &who);
    Outcome ReadLines(std::function<bool(std::string_view)> const &take);

    std::unique_ptr<Stream> stream_;
    std::string host_;
    int port_ = 0;
    bool pipelining_ = false, mayUseUser_ = true;
    std::vector<std::string> mechanisms_;
};
