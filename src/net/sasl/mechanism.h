#pragma once
// One exchange of one mechanism. Private to this folder.

#include "net/sasl/sasl.h"

enum class SaslStep {
    kMore,     ///< the response is to be sent, the server says more
    kComplete, ///< the response is to be sent, and nothing of the server's is needed any more
    kWrong     ///< the challenge makes no sense, or proves nothing
};

class Mechanism {
  public:
    virtual ~Mechanism() = default;

    /// Whether the client speaks first.
    virtual bool HasInitialResponse() const = 0;

    /// Answers `challenge`. Both are bytes, not base64. `response` may stay empty.
    virtual SaslStep Step(std::string_view challenge, std::string &response) = 0;
};

/// Null when the library does not know it.
std::unique_ptr<Mechanism> NewMechanism(std::string const &name, Credentials const &credentials,
                                        SaslPlace const &place);

/// Base64 (RFC 4648 4) without line breaks, and back. False for what is none.
std::string ToBase64(std::string_view bytes);
bool FromBase64(std::string_view text, std::string &bytes);
