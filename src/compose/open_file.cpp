#include "compose/open_file.h"

#include "base/fd.h"
#include "base/scratch.h"
#include "base/text.h"
#include "mime/part_content.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <process.h>
#include <string>
#include <string_view>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace {

constexpr size_t kLongestName = 200; ///< of a file's last part, which carries the extension

/// The path of a program of the search path; empty when there is none.
std::string FindProgram(std::string_view name) {
    char const *const search = getenv("PATH");
    std::string_view rest = search ? search : "/usr/bin:/bin";
    while (!rest.empty()) {
        std::string_view const directory = rest.substr(0, rest.find(':'));
        rest.remove_prefix(std::min(directory.size() + 1, rest.size()));
        std::string path = std::string(directory) + "/" + std::string(name);
        if (directory.starts_with('/') && access(path.c_str(), X_OK) == 0)
            return path;
    }
    return {};
}

/// A new file of TempDir for a part; its path in `path`.
Fd NewScratchFile(PartHeaders const &part, std::string &path) {
    static unsigned opened = 0; // under the library lock
    std::string_view name = IsPlainName(part.fileName) ? part.fileName : "attachment";
    name.remove_prefix(name.size() - std::min(name.size(), kLongestName));
    for (;;) {
        path = std::string(TempDir) + "open" + std::to_string(++opened) + "-" + std::string(name);
        Fd file(open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, 0600));
        if (file.Valid() || errno != EEXIST)
            return file;
    }
}

/// Reaps the openers that have ended since the last one was started.
void Reap(std::vector<int> &children) {
    std::erase_if(children, [](int child) { return waitpid(child, nullptr, WNOHANG) != 0; });
}

} // namespace

bool OpenPart(PartHeaders const &part) {
    static std::vector<int> children; // under the library lock
    std::string const opener = FindProgram("xdg-open");
    std::string path;
    if (!TempDir[0] || opener.empty())
        return false;
    Fd file = NewScratchFile(part, path);
    if (!file.Valid())
        return false;
    if (!WritePartContent(file.Get(), part) || !file.Reset()) {
        unlink(path.c_str());
        return false;
    }
    Reap(children);
    // The path starts with a slash, so it is never taken for an option.
    int const child = spawnl(P_NOWAIT, opener.c_str(), "xdg-open", path.c_str(), nullptr);
    if (child > 0)
        children.push_back(child);
    return child > 0;
}
