#include "system/memory_file.h"

#include <cerrno>
#include <cstdint>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr int kSeals = F_SEAL_SHRINK | F_SEAL_GROW | F_SEAL_WRITE | F_SEAL_SEAL;

} // namespace

Fd MakeMemory(char const *name) { return Fd(memfd_create(name, MFD_CLOEXEC | MFD_ALLOW_SEALING)); }

bool Seal(int descriptor) { return fcntl(descriptor, F_ADD_SEALS, kSeals) == 0; }

SealedBytes::SealedBytes(int descriptor, size_t size) {
    struct stat status {};
    int const seals = fcntl(descriptor, F_GET_SEALS);
    if (seals < 0 || (seals & kSeals) != kSeals || fstat(descriptor, &status) != 0 || status.st_size < 0 ||
        static_cast<uint64_t>(status.st_size) != size)
        return;
    if (size > 0) {
        void *const mapped = mmap(nullptr, size, PROT_READ, MAP_SHARED, descriptor, 0);
        if (mapped == MAP_FAILED)
            return;
        address_ = mapped;
        size_ = size;
    }
    valid_ = true;
}

SealedBytes::~SealedBytes() {
    if (address_)
        munmap(address_, size_);
}

bool ReadFile(int descriptor, size_t limit, std::string &bytes) {
    off_t const size = lseek(descriptor, 0, SEEK_END); // workers may not ask for more than that
    if (size < 0)
        return false;
    bytes.resize(std::min(static_cast<size_t>(size), limit) + 1);
    size_t done = 0;
    for (;;) {
        if (done == bytes.size()) {
            if (done > limit)
                return false;
            bytes.resize(std::min(2 * done, limit + 1));
        }
        ssize_t const got = pread(descriptor, bytes.data() + done, bytes.size() - done, static_cast<off_t>(done));
        if (got < 0 && errno == EINTR)
            continue;
        if (got < 0)
            return false;
        if (got == 0)
            break;
        done += static_cast<size_t>(got);
    }
    bytes.resize(done);
    return done <= limit;
}
