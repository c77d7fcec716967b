#include "pop/spool.h"

#include <cstdlib>
#include <fcntl.h>
#include <mutex>
#include <sys/stat.h>
#include <unistd.h>

Spool::Spool() {
    std::string path = "/tmp/Corvanta-" + std::to_string(getpid());
    static std::mutex making; // another session would make its own between the calls
    std::lock_guard const lock(making);
    unlink(path.c_str());
    file_ = Fd(open(path.c_str(), O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
    if (!file_.Valid()) { // a directory, or what belongs to another user
        path += "-XXXXXX";
        file_ = Fd(mkostemp(path.data(), O_CLOEXEC));
    }
    whole_ = file_.Valid() && unlink(path.c_str()) == 0;
}

bool Spool::ReadBack(std::string &text) {
    struct stat status {};
    if (!whole_ || fstat(file_.Get(), &status) != 0 || lseek(file_.Get(), 0, SEEK_SET) != 0)
        return false;
    text.resize(static_cast<size_t>(status.st_size));
    return ReadAll(file_.Get(), text.data(), text.size()) == static_cast<long>(text.size());
}
