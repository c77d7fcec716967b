#pragma once
// The certificates that the user accepted by hand, each for one host and port, under StateDirectory.

#include <string>

/// The accepted certificate's fingerprint as CertificateProblem has it; empty for none. Any thread.
std::string AcceptedCertificate(std::string const &host, int port);

/// Accepts a certificate in the place of one that was accepted before. False, with errno telling why, when it cannot
/// be written: it then holds for this run. Any thread.
bool AcceptCertificate(std::string const &host, int port, std::string const &fingerprint);
