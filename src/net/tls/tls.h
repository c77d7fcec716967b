#pragma once
// TLS for a connection (RFC 8446, RFC 5246): version 1.2 or later, the system's certificates, the server's name
// checked (RFC 6125) and sent (SNI, RFC 6066 3), session tickets. No toolkit.

#include "base/outcome.h"
#include "net/stream.h"

#include <functional>
#include <string>
#include <string_view>
#include <vector>

/// Why a server's certificate did not pass, in words, and what it is known by.
struct CertificateProblem {
    std::string host;
    int port = 0;
    std::vector<std::string> reasons; ///< whole sentences, for the user; control characters escaped
    std::string fingerprint;          ///< SHA-256 of the certificate, "AB:CD:..." in capitals
    bool changed = false;             ///< the user has accepted another one for this host and port before
};

/// Starts TLS on a connected stream and checks the server's certificate; what was read before is dropped (RFC
/// 3207 4.2). `accepted` lets a certificate with that fingerprint pass whatever is wrong with it. The waits are the
/// stream's: its limits, its stop predicate. When it is not kDone the stream is of no more use; a certificate that
/// did not pass is kFailed with the problem in it, and nothing but the handshake was sent.
Outcome StartTls(Stream &stream, std::string const &host, int port, std::string_view acceptedFingerprint = {});

/// Which certificate the user accepted by hand for this host and port: its fingerprint, empty for none. Any thread.
using AcceptedFingerprint = std::function<std::string(std::string const &host, int port)>;

/// Where every connection asks that from now on. Once, at the start.
void SetAcceptedFingerprint(AcceptedFingerprint accepted);
std::string AcceptedFingerprintFor(std::string const &host, int port);

/// What binds a login to this TLS connection (RFC 5929 3, RFC 9266), empty when the stream is in the clear: the
/// tls-exporter value under TLS 1.3, the tls-unique one under TLS 1.2.
struct ChannelBinding {
    std::string exporter, unique;
};
ChannelBinding ChannelBindingOf(Stream const &stream);

/// True when the stream's bytes go through TLS.
bool IsSecured(Stream const &stream);
