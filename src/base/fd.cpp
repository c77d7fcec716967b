#include "base/fd.h"

#include <cerrno>
#include <unistd.h>

bool Fd::Reset(int descriptor) {
    int const old = std::exchange(descriptor_, descriptor);
    return old < 0 || close(old) == 0;
}

bool WriteAll(int descriptor, std::string_view bytes) {
    while (!bytes.empty()) {
        ssize_t const written = write(descriptor, bytes.data(), bytes.size());
        if (written < 0 && errno == EINTR)
            continue;
        if (written < 0)
            return false;
        bytes.remove_prefix(static_cast<size_t>(written));
    }
    return true;
}

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
