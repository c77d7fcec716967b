#pragma once
// What sending a mail and posting an article have in common.

#include "base/account.h"
#include "base/fd.h"
#include "compose/compose_state.h"
#include "compose/send/outgoing_message.h"
#include "compose/send/send_window.h"

constexpr char kNoConnection[] = "Failed to get a socket, verify server information";
constexpr int kConnectedProgress = 2, kBodyProgress = 6;

/// The connection, known to CancelSending for as long as it is open.
class SendSocket {
  public:
    SendSocket(ComposeState &state, int socket);
    ~SendSocket();
    SendSocket(SendSocket const &) = delete;
    SendSocket &operator=(SendSocket const &) = delete;

  private:
    ComposeState &state_;
    Fd socket_;
};

/// Fills everything but the attachments from the person's input, whose text is taken away, and from the account with
/// its signature file. A file that cannot be opened or is no plain file counts as none, one of over 1 MB is alerted.
void FillMessage(ComposeState &state, OutgoingMessage &message, SendInput &input, ServerAccount const &account);

/// Writes the message's body to the sink; the window shows how far it is when `shown` is true.
void WriteBody(ComposeState &state, OutgoingMessage const &message, MessageSink &sink, bool shown);

/// Sends the line that ends a message, and an empty one behind it. False when the connection failed.
bool EndMessage(int socket);

/// Gives the server a while to answer a whole message; a slow one is no failure, its answer is read on for.
void WaitForFinalAnswer(int socket);

/// True for the number of a final answer that says the message was taken: SMTP's 250 or NNTP's 240.
bool IsTaken(int32_t number);
