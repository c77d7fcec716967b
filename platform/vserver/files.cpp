#include "vserver/files.h"

#include "vserver/clean.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <linux/openat2.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace vserver {
namespace {

Fd OpenBeneath(int directory, std::string const &path, uint64_t flags) {
    open_how how{};
    how.flags = flags | O_CLOEXEC;
    how.resolve = RESOLVE_BENEATH | RESOLVE_NO_SYMLINKS | RESOLVE_NO_MAGICLINKS;
    return Fd(static_cast<int>(syscall(SYS_openat2, directory, path.c_str(), &how, sizeof how)));
}

/// Opens a regular file of at most `limit` bytes for reading; on failure errno tells why. Does not wait for the other
/// end of a pipe.
Fd OpenRegular(int directory, std::string const &name, size_t limit) {
    Fd file = OpenBeneath(directory, name, O_RDONLY | O_NONBLOCK | O_NOCTTY);
    struct stat status {};
    if (!file.Valid() || fstat(file.Get(), &status) != 0)
        return {};
    if (!S_ISREG(status.st_mode) || static_cast<uint64_t>(status.st_size) > limit) {
        errno = S_ISREG(status.st_mode) ? EFBIG : EINVAL;
        return {};
    }
    return file;
}

/// The part of `path` below `root`; empty when it is not below it.
std::string_view Below(std::string_view root, std::string_view path) {
    while (root.size() > 1 && root.back() == '/')
        root.remove_suffix(1);
    if (root.size() < 2 || root[0] != '/' || path.size() <= root.size() + 1 || path.substr(0, root.size()) != root ||
        path[root.size()] != '/')
        return {};
    std::string_view rest = path.substr(root.size());
    while (!rest.empty() && rest[0] == '/')
        rest.remove_prefix(1);
    return rest;
}

bool HasParentStep(std::string_view path) {
    while (!path.empty()) {
        size_t const end = std::min(path.find('/'), path.size());
        if (path.substr(0, end) == "..")
            return true;
        path.remove_prefix(std::min(end + 1, path.size()));
    }
    return false;
}

/// The directory at `path`, whatever links lead there; not Valid() when there is none.
Fd OpenTop(std::string const &path) {
    open_how how{};
    how.flags = O_PATH | O_DIRECTORY | O_CLOEXEC;
    return Fd(static_cast<int>(syscall(SYS_openat2, AT_FDCWD, path.c_str(), &how, sizeof how)));
}

/// Whether both are the same directory, or none.
bool IsSame(Fd const &left, Fd const &right) {
    struct stat one {
    }, other{};
    if (!left.Valid() || !right.Valid())
        return left.Valid() == right.Valid();
    return fstat(left.Get(), &one) == 0 && fstat(right.Get(), &other) == 0 && one.st_dev == other.st_dev &&
           one.st_ino == other.st_ino;
}

/// Opens `rest` below the directory `top`; errno tells why not.
OpenedPage OpenBelow(Fd const &top, std::string_view rest) {
    OpenedPage page;
    size_t const slash = rest.rfind('/');
    std::string const directory(slash == std::string_view::npos ? "." : rest.substr(0, slash));
    std::string const name(slash == std::string_view::npos ? rest : rest.substr(slash + 1));
    errno = ENOENT;
    if (top.Valid())
        page.directory = OpenBeneath(top.Get(), directory, O_PATH | O_DIRECTORY);
    if (page.directory.Valid())
        page.file = OpenRegular(page.directory.Get(), name, kMaxPageBytes);
    if (!page.file.Valid())
        page.error = strerror(errno);
    return page;
}

} // namespace

std::vector<Root> OpenRoots(std::vector<std::string> const &paths) {
    std::vector<Root> roots;
    for (std::string const &path : paths)
        roots.push_back({path, OpenTop(path)});
    return roots;
}

OpenedPage OpenPage(std::vector<Root> const &roots, std::string_view url) {
    constexpr std::string_view kScheme = "file://";
    OpenedPage page;
    page.error = "Not a page of this program";
    if (url.substr(0, kScheme.size()) != kScheme || url.find('\0') != std::string_view::npos || HasParentStep(url))
        return page;
    for (Root const &root : roots) {
        std::string_view const rest = Below(root.path, url.substr(kScheme.size()));
        if (rest.empty())
            continue;
        page = OpenBelow(root.directory, rest);
        page.root_changed = !IsSame(root.directory, OpenTop(root.path));
        if (page.file.Valid() || page.root_changed)
            break;
    }
    return page;
}

Fd OpenImage(Fd const &directory, std::string const &name) {
    if (!IsPlainImageName(name))
        return {};
    return OpenRegular(directory.Get(), name, kMaxImageBytes);
}

} // namespace vserver
