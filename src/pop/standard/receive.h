#pragma once
// Receiving mail as today's servers give it: CAPA (RFC 2449), SASL (RFC 5034), UIDL (RFC 1939 7), retrieval in a
// window. Every message comes into the Inbox exactly once, whatever the server keeps and whenever this is stopped or
// killed. No toolkit.

#include "base/outcome.h"
#include "net/sasl/sasl.h"
#include "net/stream.h"

#include <chrono>
#include <functional>
#include <string>
#include <string_view>

struct ReceiveRequest {
    std::string profile;      ///< name of the mail profile: its log (state/uidl_log.h)
    std::string inbox;        ///< the folder's path
    std::string server;       ///< as in the profile; its scheme says how the connection is secured
    Credentials who;          ///< signs in
    bool clearAgreed = false; ///< the user lets this account sign in over a connection that others can read
    bool leaveOnServer = true;
    int removeAfterDays = 0; ///< what was left there this long ago is removed; 0: only what was deleted here
    int knownCount = 0;      ///< for a server without UIDL: messages of it that this run has taken in
};

struct ReceiveProgress {
    int done, total;           ///< messages
    int64_t bytes, totalBytes; ///< of their texts, as the server announced them
    double bytesPerSecond;
};

/// What happens during a check, called on the worker without any lock.
class ReceiveSink {
  public:
    virtual ~ReceiveSink() = default;
    virtual void Progress(ReceiveProgress const &progress) = 0;
    /// A message was stored in the Inbox under this number. `text` is valid during the call only.
    virtual void Stored(int32_t number, std::string_view text) = 0;
};

struct ReceiveResult {
    Outcome outcome;
    bool signInRefused = false; ///< the server did not take the user name or the password
    bool withoutUidl = false;   ///< the server gives its messages no identifiers: the user is to know
    int fetched = 0;            ///< messages stored and safe
    int onServer = 0;           ///< messages that are there after this
};

/// One check. What is stored and synced stays whatever happens afterwards; the server deletes only that, and only
/// when the request says so or the message was deleted here. Ends within 0.1 s of `stopped` becoming true, but for
/// the sync of what was stored. On a worker, without locks.
ReceiveResult ReceiveMail(ReceiveRequest const &request, ReceiveSink &sink, StopPredicate const &stopped);
