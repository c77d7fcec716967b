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

std::optional<std::string> HomeDirectory() {
    std::vector<char> buffer(16384);
    passwd entry{};
    passwd *found = nullptr;
    if (getpwuid_r(getuid(), &entry, buffer.data(), buffer.size(), &found) != 0 || !found || !found->pw_dir)
        return std::nullopt;
    return std::string(found->pw_dir);
}

std::string ConfigRoot() { return HomeDirectory().value_or("") + "/.Corvanta/"; }

std::string FolderDirectory(std::string_view profile, std::string_view folder) {
    return ConfigRoot().append(profile).append("/").append(folder).append("/");
}

void SetTempDir() {
    TempDir[0] = 0;
    std::optional<std::string> const home = HomeDirectory();
    if (!home)
        return;
    // A home too long for the buffer counts as none: half a path would name somebody else's place.
    if (!PrintText(TempDir, sizeof TempDir, "%s/.Corvanta/.tmp/", home->c_str()))
        TempDir[0] = 0;
    else
        mkdir(TempDir, 0700);
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
