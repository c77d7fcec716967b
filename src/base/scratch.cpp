#include "base/scratch.h"

#include "base/fd.h"
#include "base/paths.h"
#include "base/text.h"

#include <cerrno>
#include <cstdio>
#include <dirent.h>
#include <fcntl.h>
#include <memory>
#include <string>
#include <string_view>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

char TempDir[1100] = "";

namespace {

constexpr char kFirst[] = ".tmp", kFurther[] = ".tmp-";

Fd held; ///< the directory, locked until the program ends
bool isFurther = false;

using Directory = std::unique_ptr<DIR, int (*)(DIR *)>;

/// The directory itself, not what a link in its place points to.
Fd OpenItself(std::string path) {
    while (path.size() > 1 && path.back() == '/')
        path.pop_back();
    return Fd(open(path.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
}

Directory List(Fd directory) {
    Directory list(directory.Valid() ? fdopendir(directory.Get()) : nullptr, closedir);
    if (list)
        static_cast<void>(directory.Release());
    return list;
}

bool Lock(Fd const &directory) { return directory.Valid() && flock(directory.Get(), LOCK_EX | LOCK_NB) == 0; }

/// Makes the directory where it is missing, and holds it. False when another program does, and when it is none.
bool Hold(std::string const &path) {
    mkdir(path.c_str(), 0700);
    Fd directory = OpenItself(path);
    struct stat status {};
    // One that was just made may be taken for stale, and removed, by a program that starts at the same time.
    if (!Lock(directory) || fstat(directory.Get(), &status) != 0 || status.st_nlink == 0)
        return false;
    held = std::move(directory);
    return true;
}

/// What programs have left that were killed.
void RemoveStale(std::string const &root) {
    Directory const entries(opendir(root.c_str()), closedir);
    while (dirent const *entry = entries ? readdir(entries.get()) : nullptr) {
        if (!std::string_view(entry->d_name).starts_with(kFurther))
            continue;
        std::string const path = root + entry->d_name;
        Fd const directory = OpenItself(path);
        if (!Lock(directory))
            continue;
        RemoveTempFiles((path + "/").c_str(), true);
        rmdir(path.c_str());
    }
}

} // namespace

void SetTempDir() {
    held = Fd();
    isFurther = false;
    TempDir[0] = 0;
    std::optional<std::string> const root = FindConfigRoot();
    if (!root)
        return;
    RemoveStale(*root);
    std::string path = *root + kFirst;
    if (!Hold(path) && errno != ENOENT) {
        isFurther = true;
        path = *root + kFurther + std::to_string(getpid());
        for (int tries = 0; tries < 3 && !Hold(path); tries++) {
        }
    }
    // A home too long for the buffer counts as none: half a path would name another place.
    if (!PrintText(TempDir, sizeof TempDir, "%s/", path.c_str()))
        TempDir[0] = 0;
}

void LeaveTempDir() {
    RemoveTempFiles(TempDir, true);
    if (isFurther && TempDir[0])
        rmdir(TempDir);
}

void RemoveTempFiles(char const *directory, bool removeAll) {
    Directory const entries = List(OpenItself(directory));
    while (dirent const *entry = entries ? readdir(entries.get()) : nullptr) {
        std::string_view const name = entry->d_name;
        if (!removeAll && (name == "originalmsg" || name == "msg.html"))
            continue;
        char path[1024];
        if (!PrintText(path, sizeof path, "%s/%s", directory, entry->d_name))
            continue;
        // kept: the test is on the joined path. For an absolute directory it never skips anything, and "." and ".."
        // fail below like every directory does.
        if (path[0] != '.')
            remove(path);
    }
}
