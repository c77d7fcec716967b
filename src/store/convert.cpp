#include "store/index_file.h"

#include "base/paths.h"
#include "base/text.h"
#include "mime/block_writer.h"
#include "mime/headers.h"

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

constexpr size_t kRowText = 5000; ///< what a row is made from, and a terminator
constexpr long kOldHeaderSize = 4;
constexpr size_t kOldNumbers = 4096; ///< numbers of the old index read at a time

/// Calls `visit` for every whole number of an old index. Returns false on a read error.
template <class Visit> bool ForEachOldNumber(int old, Visit visit) {
    uint32_t numbers[kOldNumbers];
    if (lseek(old, kOldHeaderSize, SEEK_SET) < 0)
        return false;
    for (;;) {
        long const got = ReadAll(old, reinterpret_cast<char *>(numbers), sizeof numbers);
        if (got < 0)
            return false;
        for (size_t i = 0; i < static_cast<size_t>(got) / sizeof *numbers; i++)
            visit(static_cast<int32_t>(le32toh(numbers[i])));
        if (got < static_cast<long>(sizeof numbers))
            return true;
    }
}

/// Fills the new index: the records of the messages that are there, then the header that knows the highest number.
bool WriteConverted(std::string_view path, int old, int made) {
    BlockWriter out(made);
    IndexHeader const empty = MakeIndexHeader(0);
    out.Put({reinterpret_cast<char const *>(empty.bytes), sizeof empty.bytes});
    int32_t highest = 0;
    bool const read = ForEachOldNumber(old, [&](int32_t number) {
        highest = std::max(highest, number);
        if (IndexRecord record; number > 0 && RecordOfMessage(path, number, record))
            out.Put({reinterpret_cast<char const *>(&record), sizeof record});
    });
    int32_t const last = highest < std::numeric_limits<int32_t>::max() ? highest + 1 : highest;
    IndexHeader const header = MakeIndexHeader(last);
    return out.Flush() && read && WriteAt(made, &header, sizeof header, 0) && fsync(made) == 0;
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

bool ReadMessageBegin(std::string const &file, char *text, size_t size) {
    text[0] = 0;
    Fd const message(open(file.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK));
    struct stat status;
    if (!message.Valid() || fstat(message.Get(), &status) != 0 || !S_ISREG(status.st_mode))
        return false;
    long const got = ReadAll(message.Get(), text, size - 1);
    text[std::max(got, 0L)] = 0;
    return got >= 0;
}

bool RecordOfMessage(std::string_view path, int32_t number, IndexRecord &record) {
    char text[kRowText];
    std::string const file = MessagePath(path, number);
    // A message that cannot be read now is still there: it keeps its place in the list, with an empty row.
    struct stat status;
    bool const read = ReadMessageBegin(file, text, sizeof text);
    if (!read && (lstat(file.c_str(), &status) != 0 || !S_ISREG(status.st_mode)))
        return false;
    char row[kRowWidth + 1] = "";
    if (read)
        FormatHeaderRow(text, row, sizeof row);
    record = MakeRecord(number, 0, row);
    return true;
}

char const *ReadMessageRow(char const *profile, char const *folder, int32_t number, char *row) {
    char text[kRowText];
    if (!IsPlainName(profile) || !IsPlainName(folder) ||
        !ReadMessageBegin(MessagePath(FolderDirectory(profile, folder), number), text, sizeof text))
        return "";
    return FormatHeaderRow(text, row, kRowWidth);
}

int ConvertIndexAt(std::string_view path) {
    Fd const old(open(InFolder(path, "index").c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK));
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
    if (WriteConverted(path, old.Get(), file.Get()) && PutInPlace(made, index))
        return 0;
    unlink(made.c_str());
    return access(index.c_str(), F_OK) == 0 ? 0 : -1;
}

int ConvertFolderIndex(char const *profile, char const *folder) {
    if (!IsPlainName(profile) || !IsPlainName(folder))
        return -1;
    return ConvertIndexAt(FolderDirectory(profile, folder));
}
