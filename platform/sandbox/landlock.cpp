#include "sandbox/landlock.h"

#include "system/fd.h"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <fcntl.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace sandbox {
namespace {

// The same numbers on every architecture; an old <sys/syscall.h> may lack them.
constexpr long kCreateRuleset = 444, kAddRule = 445, kRestrictSelf = 446;
constexpr uint32_t kAskVersion = 1;
constexpr int kPathBeneath = 1;
constexpr uint64_t kReadFile = 1u << 2;

/// What a ruleset forbids; the kernel accepts a longer one than it knows when the rest is zero.
struct Ruleset {
    uint64_t files, network, scopes;
};

struct [[gnu::packed]] PathRule {
    uint64_t allowed;
    int32_t directory;
};

/// All that this version can forbid.
Ruleset Everything(int version) {
    // File rights by version: 13, then moving files (2), truncating (3), device controls (5).
    constexpr int kFileRights[] = {0, 13, 14, 15, 15, 16};
    int const rights = kFileRights[std::min(version, 5)];
    constexpr uint64_t kBindAndConnect = 3, kSocketsAndSignals = 3;
    return {(uint64_t{1} << rights) - 1, version >= 4 ? kBindAndConnect : 0, version >= 6 ? kSocketsAndSignals : 0};
}

/// Allows reading below `root`. A root that does not exist is fine.
bool AllowReading(Fd const &ruleset, std::string const &root) {
    Fd const directory(open(root.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    if (!directory.Valid())
        return true;
    PathRule const rule{kReadFile, directory.Get()};
    return syscall(kAddRule, ruleset.Get(), kPathBeneath, &rule, 0) == 0;
}

} // namespace

int LandlockVersion() {
    return static_cast<int>(std::max(syscall(kCreateRuleset, nullptr, size_t{0}, kAskVersion), 0L));
}

int EnterLandlock(std::vector<std::string> const &roots) {
    long const version = syscall(kCreateRuleset, nullptr, size_t{0}, kAskVersion);
    if (version < 1)
        return version < 0 ? errno : ENOSYS;
    Ruleset const forbidden = Everything(static_cast<int>(version));
    Fd const ruleset(static_cast<int>(syscall(kCreateRuleset, &forbidden, sizeof forbidden, 0)));
    if (!ruleset.Valid())
        return errno;
    for (std::string const &root : roots)
        if (!AllowReading(ruleset, root))
            return errno;
    return syscall(kRestrictSelf, ruleset.Get(), 0) == 0 ? 0 : errno;
}

} // namespace sandbox
