#include "base/paths.h"

#include "base/fd.h"
#include "base/text.h"

#include <cstdio>
#include <dirent.h>
#include <memory>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

char TempDir[1100] = "";

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

std::string ConfigRoot() { return FindConfigRoot().value_or(kConfigDirectory); }

std::string FolderDirectory(std::string_view profile, std::string_view folder) {
    return ConfigRoot().append(profile).append("/").append(folder).append("/");
}

void SetTempDir() {
    TempDir[0] = 0;
    std::optional<std::string> const root = FindConfigRoot();
    if (!root)
        return;
    // A home too long for the buffer counts as none: half a path would name another place.
    if (!PrintText(TempDir, sizeof TempDir, "%s.tmp/", root->c_str()))
        TempDir[0] = 0;
    else
        mkdir(TempDir, 0700);
}

void MakeDirectories(std::string const &path) {
    for (size_t slash = path.find('/', 1); slash != std::string::npos; slash = path.find('/', slash + 1))
        mkdir(path.substr(0, slash).c_str(), 0700);
}

void RemoveTempFiles(char const *directory, bool removeAll) {
    std::unique_ptr<DIR, int (*)(DIR *)> const entries(opendir(directory), closedir);
    if (!entries)
        return;
    while (dirent const *entry = readdir(entries.get())) {
        std::string_view const name = entry->d_name;
        if (!removeAll && (name == "originalmsg" || name == "msg.html"))
            continue;
        char path[1024];
        if (!PrintText(path, sizeof path, "%s/%s", directory, entry->d_name))
            continue;
        // The test is on the joined path: for an absolute directory it never skips anything, and "."
        // and ".." fail below like every directory does.
        if (path[0] != '.')
            remove(path);
    }
}
