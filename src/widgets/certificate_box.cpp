#include "widgets/certificate_box.h"

#include "names/widgets.h"
#include "state/certificates.h"
#include "widgets/toolkit.h"

#include <cerrno>
#include <cstring>

namespace {

std::string TextFor(CertificateProblem const &problem) {
    std::string text = "The connection to " + problem.host + " (port " + std::to_string(problem.port) +
                       ") was stopped before anything was sent.\n\n";
    if (problem.changed)
        text += "Its certificate is another one than the one that you accepted before.\n";
    for (std::string const &reason : problem.reasons)
        text += reason + "\n";
    // In two lines: the box is no wider than a small screen.
    return text + "\nSHA-256 fingerprint:\n" + problem.fingerprint.substr(0, 48) + "\n" +
           (problem.fingerprint.size() > 48 ? problem.fingerprint.substr(48) : "") +
           "\n\nAccept it only when you know that this is the server's own fingerprint.";
}

} // namespace

bool AskToAcceptCertificate(CertificateProblem const &problem) {
    ToolkitGuard const guard;
    if (!AskTwo(ABW_base, "Certificate", TextFor(problem).c_str(), "&Cancel", "&Accept"))
        return false;
    if (!AcceptCertificate(problem.host, problem.port, problem.fingerprint))
        SetStatus(std::string("The certificate is accepted for this run only: ") + strerror(errno));
    return true;
}
