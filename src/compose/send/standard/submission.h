#pragma once
// Handing a message to a server (RFC 6409): EHLO, AUTH, SIZE, 8BITMIME, PIPELINING. Private to this folder.

#include "base/outcome.h"
#include "net/sasl/sasl.h"
#include "net/stream.h"

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

struct Submission {
    std::string server;       ///< as in the profile; its scheme says how the connection is secured
    Credentials who;          ///< signs in where the server offers it; an empty user does not
    bool clearAgreed = false; ///< the user lets this account sign in over a connection that others can read
    std::string sender;       ///< address
    std::vector<std::string> recipients; ///< addresses, each once
    int64_t size = 0;                    ///< bytes, about
    bool has8bit = false;

    /// Writes the message to the stream, with doubled dots and without the end mark. `allow8bit` tells whether the
    /// server takes 8-bit text. False when the stream failed.
    std::function<bool(Stream &stream, bool allow8bit)> write;
    std::function<void(int percent)> progress = {}; ///< of the dialogue before the message; may be empty
};

struct RefusedRecipient {
    std::string address, words;
};

struct SubmissionResult {
    Outcome outcome = {}; ///< kDone: the server has taken the message for at least one recipient
    std::vector<RefusedRecipient> refused = {};
    bool signInRefused = false;
    bool mayHaveGone = false; ///< not done, but the server got the whole message: it may deliver it
};

/// One dialogue. The outcome's text is a sentence for the user, with the server's words. Waits as a stream does.
SubmissionResult Submit(Submission const &submission, StopPredicate const &stopped);
