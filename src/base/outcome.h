#pragma once
// What an operation came to, with the text for the user. Operations return it by value; only windows show it.

#include <memory>
#include <string>
#include <utility>

struct CertificateProblem;

enum class Ending {
    kDone,    ///< all of it
    kRefused, ///< the server said no; the text holds its words
    kLost,    ///< the connection ended, failed, fell silent or dripped
    kStopped, ///< the user stopped it
    kFailed   ///< something here failed: no such host, a full disk, no memory
};

struct Outcome {
    Ending ending = Ending::kDone;
    std::string text = {}; ///< for the user, in UTF-8 or as the server sent it; may be empty
    /// The server's certificate did not pass, and the user may accept it (net/tls/tls.h). Null for any other ending.
    std::shared_ptr<CertificateProblem const> certificate = nullptr;

    explicit operator bool() const { return ending == Ending::kDone; }
};

inline Outcome Refused(std::string text) { return {Ending::kRefused, std::move(text)}; }
inline Outcome Lost(std::string text) { return {Ending::kLost, std::move(text)}; }
inline Outcome Stopped() { return {Ending::kStopped}; }
inline Outcome Failed(std::string text) { return {Ending::kFailed, std::move(text)}; }
