#include "store/convert.h"

#include "base/log.h"
#include "base/paths.h"
#include "base/text.h"
#include "mime/block_writer.h"
#include "store/index_file.h"
#include "store/message_row.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <endian.h>
#include <fcntl.h>
#include <limits>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr long kOldHeaderSize = 4;
constexpr size_t kOldNumbers = 4096; ///< numbers of the old index read at a time

Fd OpenOld(std::string_view path) {
    return Fd(open(InFolder(path, "index").c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK));
}

/// Calls `visit` for every number of an old index until it returns false. Returns false on a read error.
template <class Visit> bool ForEachOldNumber(int old, Visit visit) {
    uint32_t numbers[kOldNumbers];
    if (lseek(old, kOldHeaderSize, SEEK_SET) < 0)
        return false;
    for (;;) {
        // kept: a last number of less than four bytes counts; the missing ones are zero
        memset(numbers, 0, sizeof numbers);
        long const got = ReadAll(old, reinterpret_cast<char *>(numbers), sizeof numbers);
        if (got < 0)
            return false;
        size_t const count = (static_cast<size_t>(got) + sizeof *numbers - 1) / sizeof *numbers;
        for (size_t i = 0; i < count; i++)
            if (!visit(static_cast<int32_t>(le32toh(numbers[i]))))
                return true;
        if (got < static_cast<long>(sizeof numbers))
            return true;
    }
}

/// The number that a conversion stores as the one handed out last. kept: one more than the highest, and 1 without any
int32_t LastNumberAfter(int32_t highest) {
    return highest < std::numeric_limits<int32_t>::max() ? highest + 1 : highest;
}

/// Fills the new index: the records of the messages that are there, then the number that follows.
bool WriteConverted(std::string_view path, int old, int made) {
    if (!WriteIndexHeader(made) || lseek(made, kIndexHeaderSize, SEEK_SET) < 0)
        return false;
    BlockWriter out(made);
    int32_t highest = 0;
    bool const read = ForEachOldNumber(old, [&](int32_t number) {
        highest = std::max(highest, number);
        if (IndexRecord record; RecordOfMessage(path, number, record))
            out.Put({reinterpret_cast<char const *>(&record), sizeof record});
        return true;
    });
    return out.Flush() && read && WriteLastNumber(made, LastNumberAfter(highest)) && fsync(made) == 0;
}

/// Gives the new index its name unless another process was first. Returns false when it has not got it.
bool PutInPlace(std::string const &made, std::string const &index) {
    if (renameat2(AT_FDCWD, made.c_str(), AT_FDCWD, index.c_str(), RENAME_NOREPLACE) == 0)
        return true;
    // Not every file system can refuse to replace; the lock on the old index keeps other conversions away.
    bool const replace = (errno == EINVAL || errno == ENOSYS) && access(index.c_str(), F_OK) != 0;
    return replace && rename(made.c_str(), index.c_str()) == 0;
}

} // namespace

int ConvertIndexAt(std::string_view path) {
    Fd const old = OpenOld(path);
    // Two conversions at once would write the same new file.
    if (!old.Valid() || !LockExclusive(old.Get()))
        return -1;
    std::string const index = InFolder(path, "index2");
    if (access(index.c_str(), F_OK) == 0)
        return 0;
    std::string const made = InFolder(path, "index2.new");
    unlink(made.c_str());
    Fd const file(open(made.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600));
    if (!file.Valid())
        return -1;
    // kept: the old index stays, so that an earlier version still finds its messages
    if (WriteConverted(path, old.Get(), file.Get()) && PutInPlace(made, index))
        return 0;
    int const error = errno;
    unlink(made.c_str());
    if (access(index.c_str(), F_OK) == 0)
        return 0;
    LogError("The index of %s cannot be converted: %s", std::string(path).c_str(), strerror(error));
    return -1;
}

int ConvertFolderIndex(char const *profile, char const *folder) {
    if (!IsPlainName(profile) || !IsPlainName(folder))
        return -1;
    return ConvertIndexAt(FolderDirectory(profile, folder));
}

bool IsFreshConversion(std::string_view path, IndexState const &state) {
    Fd const old = OpenOld(path);
    int32_t highest = 0;
    long records = 0;
    bool const read = old.Valid() && ForEachOldNumber(old.Get(), [&](int32_t number) {
                          struct stat status;
                          highest = std::max(highest, number);
                          records += stat(MessagePath(path, number).c_str(), &status) == 0 ? 1 : 0;
                          return true;
                      });
    // A message deleted since leaves its record.
    return read && state.lastNumber == LastNumberAfter(highest) && state.records >= records;
}
