#pragma once
// Asking the user about a server's certificate that did not pass.

#include "net/tls/tls.h"

/// A box with the reasons and the fingerprint, which offers to accept just this certificate for just this host and
/// port. True when the user accepted it: the next connection passes, in this run and in later ones. Any thread; a
/// worker holds no locks.
bool AskToAcceptCertificate(CertificateProblem const &problem);
