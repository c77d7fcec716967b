#include "store/folder.h"

#include "base/fd.h"
#include "base/paths.h"
#include "base/text.h"
#include "mime/headers.h"
#include "store/index_file.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <limits>
#include <memory>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr size_t kReadBlock = 1260; ///< records read at a time, about 256 KB
constexpr int kSyncedOneByOne = 64; ///< above this one sync of the whole file system is cheaper

/// The next number and its file, made while the index is locked. A number whose file lies there already, left by a
/// crash that lost the index's last changes, is passed over: that is somebody's message. `file` is invalid when it
/// cannot be made. Returns -1 when the numbers are used up.
int32_t TakeNumber(std::string_view path, LockedIndex const &index, Fd &file) {
    int32_t number = index.LastNumber();
    do {
        if (number == std::numeric_limits<int32_t>::max())
            return -1;
        number++;
        file.Reset(open(MessagePath(path, number).c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600));
    } while (!file.Valid() && errno == EEXIST);
    return number;
}

/// Hands out a number with a record and a file. Returns -1 when there is no index, or the record or the file cannot
/// be made; a record whose file could not be made stays.
int32_t AddRecord(std::string_view path, std::string_view row, Fd &file) {
    LockedIndex index(path);
    if (!index.Valid())
        return -1;
    int32_t const number = TakeNumber(path, index, file);
    if (number < 0)
        return -1;
    if (!index.Append(number, row)) {
        if (file.Valid())
            unlink(MessagePath(path, number).c_str());
        file.Reset();
    }
    return file.Valid() ? number : -1;
}

bool SyncPath(std::string const &path) {
    Fd const file(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK));
    return file.Valid() && fsync(file.Get()) == 0;
}

} // namespace

int CreateFolder(char const *path) {
    mkdir(path, 0700);
    // A folder of an earlier version keeps its messages.
    if (access(InFolder(path, "index2").c_str(), F_OK) != 0 && ConvertIndexAt(path) == 0)
        return 0;
    Fd const file(open(InFolder(path, "index2").c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600));
    if (!file.Valid())
        return -1;
    IndexHeader const header = MakeIndexHeader(0);
    struct stat status;
    if (!LockExclusive(file.Get()) || fstat(file.Get(), &status) != 0)
        return -1;
    // Another process may have found the file empty and put it right between the open and the lock.
    if (status.st_size < kIndexHeaderSize && !WriteAt(file.Get(), &header, sizeof header, 0))
        return -1;
    return 0;
}

int32_t AppendMessage(char const *path, std::string_view text) {
    char row[kRowWidth + 1];
    FormatHeaderRow(text.data(), row, sizeof row);
    Fd file;
    int32_t const number = AddRecord(path, row, file);
    if (number < 0)
        return -1;
    bool const written = LockExclusive(file.Get()) && WriteAll(file.Get(), text);
    bool const closed = file.Reset();
    if (written && closed)
        return number;
    // Half a message would pass for a whole one.
    unlink(MessagePath(path, number).c_str());
    return -1;
}

int ReserveMessage(char const *path, int32_t &number) {
    if (access(InFolder(path, "index2").c_str(), F_OK) != 0)
        ConvertIndexAt(path);
    Fd file;
    int32_t const taken = AddRecord(path, {}, file);
    if (taken < 0)
        return -1;
    number = taken;
    return file.Release();
}

int UpdateIndexRow(char const *profile, char const *folder, int32_t number, int32_t flags, char const *row) {
    if (!IsPlainName(profile) || !IsPlainName(folder))
        return -1;
    LockedIndex const index(FolderDirectory(profile, folder));
    long const offset = index.Valid() ? index.Find(number) : -1;
    if (offset < 0)
        return -1;
    return index.Overwrite(offset, MakeRecord(number, flags, FieldText(row, kRowWidth))) ? 0 : -1;
}

int DeleteMessage(char const *path, int32_t number) {
    {
        LockedIndex const index(path);
        long const offset = index.Valid() ? index.Find(number) : -1;
        if (offset < 0 || !index.Overwrite(offset, IndexRecord{}))
            return -1;
    }
    return unlink(MessagePath(path, number).c_str());
}

bool ReadFolderIndex(char const *path, std::function<void(IndexRecord const &)> const &visit) {
    // Nobody waits for the writer of a FIFO.
    Fd const file(open(InFolder(path, "index2").c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK));
    if (!file.Valid())
        return false;
    auto const block = std::make_unique_for_overwrite<IndexRecord[]>(kReadBlock);
    bool repaired = false;
    for (long offset = kIndexHeaderSize;;) {
        ssize_t const got = pread(file.Get(), block.get(), kReadBlock * sizeof(IndexRecord), offset);
        if (got < 0 && errno == EINTR)
            continue;
        // Each read begins at a record, so that one just being appended is seen whole or not at all.
        long const whole = got / static_cast<long>(sizeof(IndexRecord));
        if (whole <= 0) {
            if (repaired || !IsCut(file.Get(), path))
                return true;
            // What is put right stands behind what was read.
            LockedIndex{path};
            repaired = true;
        }
        for (long i = 0; i < whole; i++) {
            IndexRecord &record = block[static_cast<size_t>(i)];
            record.number = RecordNumber(record);
            record.flags = RecordFlags(record);
            if (record.number != 0)
                visit(record);
        }
        offset += whole * static_cast<long>(sizeof(IndexRecord));
    }
}

bool SyncFolder(char const *path, int32_t const *numbers, int count) {
    Fd const directory(open(path, O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!directory.Valid())
        return false;
    if (count > kSyncedOneByOne) {
        if (syncfs(directory.Get()) != 0)
            return false;
    } else {
        for (int i = 0; i < count; i++)
            if (!SyncPath(MessagePath(path, numbers[i])) && errno != ENOENT)
                return false;
    }
    return SyncPath(InFolder(path, "index2")) && fsync(directory.Get()) == 0;
}

char *ReadMessageFile(char const *path, int32_t number, int spare, long *length) {
    if (length)
        *length = 0;
    Fd const file(open(MessagePath(path, number).c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK));
    struct stat status;
    if (!file.Valid() || fstat(file.Get(), &status) != 0 || !S_ISREG(status.st_mode))
        return nullptr;
    size_t const behind = spare > 0 ? static_cast<size_t>(spare) : 1;
    size_t const size = static_cast<size_t>(status.st_size);
    if (size > std::numeric_limits<int32_t>::max() - behind)
        return nullptr;
    std::unique_ptr<char, decltype(&free)> text(static_cast<char *>(malloc(size + behind)), free);
    long const got = text ? ReadAll(file.Get(), text.get(), size) : -1;
    if (got < 0)
        return nullptr;
    memset(text.get() + got, 0, size + behind - static_cast<size_t>(got));
    if (length)
        *length = got;
    return text.release();
}
