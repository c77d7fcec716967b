#include "ways/choose.h"

#include "base/log.h"
#include "base/paths.h"
#include "base/settings.h"
#include "base/way.h"
#include "compose/forward_part.h"
#include "compose/send/send.h"
#include "net/tls/tls.h"
#include "pop/check_mail.h"
#include "state/certificates.h"

#include <cerrno>
#include <cstring>
#include <sys/stat.h>

namespace {

bool HasData() {
    struct stat status {};
    std::optional<std::string> const root = FindConfigRoot();
    return root && stat(root->c_str(), &status) == 0;
}

} // namespace

void ChooseWay() {
    SetAcceptedFingerprint(AcceptedCertificate);
    Settings &settings = ProgramSettings();
    SetClassic(settings.Bool(kClassicKey, HasData()));
    if (!Classic()) {
        CheckTheStandardWay();
        SendTheStandardWay();
        EndBodiesWhole();
        MakeDirectories(ConfigRoot()); // so that the very first run can show messages
    }
    if (settings.Exists() || Classic())
        return;
    settings.Set(kClassicKey, false);
    if (!settings.Save())
        LogError("The settings cannot be written: %s", strerror(errno));
}
