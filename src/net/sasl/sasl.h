#pragma once
// Signing in with SASL (RFC 4422) over POP3 (RFC 5034), SMTP (RFC 4954) and NNTP (RFC 4643). No toolkit, no sockets:
// the dialogue's own side asks the server.

#include "base/outcome.h"

#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

/// Who signs in.
struct Credentials {
    std::string user;
    std::string secret;
    bool isToken = false; ///< the secret is an OAuth 2.0 access token, no password
};

/// Where, and what is allowed there.
struct SaslPlace {
    std::string service; ///< "pop", "smtp" or "nntp"
    std::string host;
    int port = 0;
    bool mayBeRead = false;      ///< the connection is in the clear, to another machine, and the user has not agreed
    std::string bindingExporter; ///< the connection's channel bindings, empty without TLS
    std::string bindingUnique;
};

/// The best mechanism of those that the server offers (ASCII case does not count): SCRAM-SHA-256-PLUS, SCRAM-SHA-256,
/// SCRAM-SHA-1, CRAM-MD5, PLAIN, LOGIN; with a token OAUTHBEARER, XOAUTH2. PLAIN, LOGIN and tokens only where nothing
/// can be read on the way. Empty when there is none.
std::string ChooseMechanism(std::vector<std::string> const &offered, Credentials const &credentials,
                            SaslPlace const &place);

enum class SaslReply {
    kContinue, ///< the server goes on; the text is its challenge in base64
    kAccepted, ///< signed in; the text may be the last challenge in base64
    kRefused,  ///< not signed in; the text holds the server's words
    kLost      ///< the connection is lost; the text says how
};

/// Sends one line and reads the reply.
using SaslAsk = std::function<SaslReply(std::string const &line, std::string &text)>;

/// Signs in with one mechanism. The first line is "AUTH MECHANISM", with the initial response in it when the line
/// then has at most `longestLine` bytes. Refused with the server's words; Failed when the server's side of the
/// exchange is wrong, as with a server that does not prove that it knows the password.
Outcome SignInWith(std::string const &mechanism, Credentials const &credentials, SaslPlace const &place,
                   size_t longestLine, SaslAsk const &ask);
