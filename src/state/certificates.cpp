#include "state/certificates.h"

#include "base/fd.h"
#include "base/paths.h"
#include "base/settings.h"

#include <map>
#include <mutex>
#include <sstream>

namespace {

constexpr size_t kLargestFile = 1 << 20;

using Place = std::pair<std::string, int>;

std::string PathOfFile() { return StateDirectory() + "certificates"; }

/// Lines of host, port and fingerprint.
std::map<Place, std::string> ReadFile() {
    std::map<Place, std::string> accepted;
    std::istringstream lines(ReadRegularFile(PathOfFile(), kLargestFile).value_or(""));
    for (std::string host, fingerprint; lines >> host;)
        if (int port = 0; lines >> port >> fingerprint)
            accepted[{host, port}] = fingerprint;
    return accepted;
}

struct Accepted {
    std::mutex mutex;
    std::map<Place, std::string> byPlace = ReadFile();
};
Accepted &All() {
    static auto *const accepted = new Accepted; // workers may still connect while the program ends
    return *accepted;
}

} // namespace

std::string AcceptedCertificate(std::string const &host, int port) {
    Accepted &accepted = All();
    std::lock_guard const lock(accepted.mutex);
    auto const found = accepted.byPlace.find({host, port});
    return found == accepted.byPlace.end() ? "" : found->second;
}

bool AcceptCertificate(std::string const &host, int port, std::string const &fingerprint) {
    Accepted &accepted = All();
    std::lock_guard const lock(accepted.mutex);
    accepted.byPlace[{host, port}] = fingerprint;
    std::ostringstream lines;
    for (auto const &[place, print] : accepted.byPlace)
        lines << place.first << ' ' << place.second << ' ' << print << '\n';
    MakeDirectories(PathOfFile());
    return ReplaceFile(PathOfFile(), PathOfFile() + ".new", lines.str());
}
