#include "system/fd.h"

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
        if (written <= 0)
            return false;
        bytes.remove_prefix(static_cast<size_t>(written));
    }
    return true;
}
