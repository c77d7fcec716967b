#include "base/fd.h"

#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

long ReadAll(int descriptor, char *buffer, size_t size) {
    size_t done = 0;
    while (done < size) {
        ssize_t const got = read(descriptor, buffer + done, size - done);
        if (got < 0 && errno == EINTR)
            continue;
        if (got < 0)
            return -1;
        if (got == 0)
            break;
        done += static_cast<size_t>(got);
    }
    return static_cast<long>(done);
}

std::optional<std::string> ReadRegularFile(std::string const &path, size_t limit, int flags) {
    Fd const file(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | flags));
    struct stat status {};
    if (!file.Valid() || fstat(file.Get(), &status) != 0)
        return std::nullopt;
    size_t const size = static_cast<size_t>(status.st_size);
    if (!S_ISREG(status.st_mode) || size > limit) {
        errno = S_ISREG(status.st_mode) ? EFBIG : EINVAL;
        return std::nullopt;
    }
    std::string text(size, '\0');
    long const length = ReadAll(file.Get(), text.data(), size);
    if (length < 0)
        return std::nullopt;
    text.resize(static_cast<size_t>(length));
    return text;
}

bool WriteNewFile(std::string const &path, std::string_view bytes) {
    unlink(path.c_str());
    Fd file(open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, 0600));
    // Descriptor 0 is not for files: it was free because a standard stream is missing.
    bool const written = file.Get() >= 1 && WriteAll(file.Get(), bytes) && fsync(file.Get()) == 0;
    return file.Reset() && written;
}

bool ReplaceFile(std::string const &path, std::string const &beside, std::string_view bytes) {
    if (WriteNewFile(beside, bytes) && rename(beside.c_str(), path.c_str()) == 0)
        return true;
    int const error = errno;
    unlink(beside.c_str());
    errno = error;
    return false;
}
