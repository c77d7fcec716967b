#include "base/paths.h"

#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace {

constexpr char kConfigDirectory[] = "/.Corvanta/";

} // namespace

std::optional<std::string> HomeDirectory() {
    std::vector<char> buffer(16384);
    passwd entry{};
    passwd *found = nullptr;
    if (getpwuid_r(getuid(), &entry, buffer.data(), buffer.size(), &found) != 0 || !found || !found->pw_dir)
        return std::nullopt;
    return std::string(found->pw_dir);
}

std::optional<std::string> FindConfigRoot() {
    std::optional<std::string> home = HomeDirectory();
    return home ? std::optional(*home + kConfigDirectory) : std::nullopt;
}

// kept: without a password entry the paths lead to the root of the file system
std::string ConfigRoot() { return FindConfigRoot().value_or(kConfigDirectory); }

std::string FolderDirectory(std::string_view profile, std::string_view folder) {
    return ConfigRoot().append(profile).append("/").append(folder).append("/");
}

void MakeDirectories(std::string const &path) {
    for (size_t slash = path.find('/', 1); slash != std::string::npos; slash = path.find('/', slash + 1))
        mkdir(path.substr(0, slash).c_str(), 0700);
}
