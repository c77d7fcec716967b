#pragma once
// What is wrong with a server's certificate. Private to this folder.

#include <openssl/ssl.h>
#include <string>
#include <vector>

/// Lets the handshake go on whatever the certificate, and remembers each problem with the session.
void RecordProblems(SSL *session);

/// The problems that were found, in whole sentences for the user; empty for a certificate that passes. Names in it
/// are quoted as they stand but for control characters.
std::vector<std::string> ReasonsAgainst(SSL *session, std::string const &host);

/// The SHA-256 fingerprint of the server's certificate, "AB:CD:..."; empty when it sent none.
std::string FingerprintOf(SSL *session);
