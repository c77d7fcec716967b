#include "base/spool.h"

#include <cstdlib>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

Spool::Spool(std::string path, Name name) : path_(std::move(path)) {
    unlink(path_.c_str());
    file_ = Fd(open(path_.c_str(), O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
    if (!file_.Valid()) {
        path_ += "-XXXXXX";
        file_ = Fd(mkostemp(path_.data(), O_CLOEXEC));
    }
    whole_ = file_.Valid();
    if (whole_ && name == kStays)
        return;
    if (whole_)
        unlink(path_.c_str());
    path_.clear();
}

Spool::~Spool() {
    if (!path_.empty())
        unlink(path_.c_str());
}

long Spool::Size() const {
    struct stat status {};
    return whole_ && fstat(file_.Get(), &status) == 0 ? static_cast<long>(status.st_size) : -1;
}

bool Spool::ReadBack(char *buffer, size_t size) const {
    return lseek(file_.Get(), 0, SEEK_SET) == 0 && ReadAll(file_.Get(), buffer, size) == static_cast<long>(size);
}
