#include "ways/choose.h"

#include "base/log.h"
#include "base/paths.h"
#include "base/way.h"
#include "compose/forward_part.h"
#include "compose/send/send.h"
#include "net/tls/tls.h"
#include "state/certificates.h"

#include <cerrno>
#include <cstring>
#include <sys/stat.h>

namespace {

constexpr char kClassicKey[] = "classic";

bool HasData() {
    struct stat status {};
    std::optional<std::string> const root = FindConfigRoot();
    return root && stat(root->c_str(), &status) == 0;
}

} // namespace

Settings &ProgramSettings() {
    static Settings settings(SettingsDirectory() + "settings.toml");
    return settings;
}

void ChooseWay() {
    SetAcceptedFingerprint(AcceptedCertificate);
    Settings &settings = ProgramSettings();
    SetClassic(settings.Bool(kClassicKey, HasData()));
    if (!Classic()) {
        SendTheStandardWay();
        EndBodiesWhole();
    }
    if (settings.Exists() || Classic())
        return;
    settings.Set(kClassicKey, false);
    if (!settings.Save())
        LogError("The settings cannot be written: %s", strerror(errno));
}
