#pragma once
// Connecting to a server, and the connection that an account keeps.

#include "base/account.h"
#include "base/fd.h"
#include "base/outcome.h"
#include "net/address.h"
#include "net/stream.h"

/// The bound of a connection attempt: the name lookup and all of the host's addresses together.
constexpr int kConnectSeconds = 30;

struct OpenedSocket {
    Fd socket;
    Outcome outcome;
};

struct OpenedStream {
    std::unique_ptr<Stream> stream; ///< null unless the outcome is kDone; without a stop predicate
    Outcome outcome;
};

/// Connects to the server that `text` names (ParseServerAddress), or to the host of the environment variable
/// "http_proxy" in its place; where the text's scheme asks for TLS (net/security.h) to the server itself, and the
/// stream then goes through TLS. After STLS or STARTTLS it starts with a greeting, like any other. Takes at most
/// kConnectSeconds and ends within 0.1 s of `stopped` becoming true. Works on any thread. Outcomes: kDone; kStopped;
/// kFailed with "Host unknown, could not connect to mail server", "Could not connect to mail server" or "Could not
/// connect to the news server", or what StartTls and AskForTls say. Failures are written to standard error, too.
OpenedStream OpenStream(char const *text, int kind, StopPredicate const &stopped = {});

/// OpenStream without a stream: close-on-exec, TCP_NODELAY, blocking calls bounded by the silence of a stream.
OpenedSocket OpenSocket(char const *text, int kind, StopPredicate const &stopped = {});

/// The stream of the account's connection, null when there is none. A serverSocket that was set without a stream gets
/// one, which owns it from then on. The caller holds sessionLock; valid until the connection is closed.
Stream *StreamOf(ServerAccount &account);

/// Makes `stream` the account's connection (null: none, serverSocket -1); one that is there is closed first. The
/// caller holds sessionLock.
void SetStream(ServerAccount &account, std::unique_ptr<Stream> stream);

/// Closes the account's connection, if any, without a word, and sets serverSocket to `afterwards`. The caller holds
/// sessionLock.
void CloseConnection(ServerAccount &account, int32_t afterwards = -1);
