#pragma once
// What sending a mail and posting an article have in common: connect, talk, and see to what was not sent.

#include "base/account.h"
#include "compose/send/classic/outgoing_message.h"
#include "compose/send/send.h"
#include "net/connection.h"

/// What the user is told when a connection cannot be had or is lost.
constexpr char kNoConnection[] = "Failed to get a socket, verify server information";

/// One message on its way out.
class Delivery {
  public:
    virtual ~Delivery() = default;
    Delivery(Delivery const &) = delete;
    Delivery &operator=(Delivery const &) = delete;

    /// Connects to `Server`, holds the dialogue and finishes. To be called once, on any thread, without locks.
    SendResult Run();

  protected:
    Delivery(Draft const &draft, SendProgress const &progress) : draft_(draft), progress_(progress) {}

    /// Fills everything of the message from the draft and the account with its signature file. A file that cannot be
    /// opened or is no plain file counts as none; of one over 1 MB the user is told.
    void FillMessage(ServerAccount const &account);

    struct Written {
        bool wire, file; ///< each got all of it
    };
    /// Writes header, body and `end` to the connection (null: none), with progress, and into the file (-1: none).
    Written Write(Stream *wire, int file, std::string_view end = {});

    virtual char const *Server() const = 0;
    virtual ServerKind Kind() const = 0;
    /// The dialogue, up to QUIT.
    virtual Outcome Talk(Stream &stream) = 0;
    virtual void WriteHeader(MessageSink &sink) const = 0;
    /// Sees to what is left of the message here; called last, with the outcome in `result`.
    virtual void Finish(SendResult &result) = 0;

    bool IsStopped() const { return progress_.stopped(); }

    Draft const &draft_;
    SendProgress const &progress_;
    OutgoingMessage message_;
};
