#include "store/folder.h"

#include "base/fd.h"
#include "base/log.h"
#include "base/paths.h"
#include "base/text.h"
#include "mime/headers.h"
#include "store/convert.h"
#include "store/cut_index.h"
#include "store/index_file.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <limits>
#include <memory>
#include <span>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr int kMostLookedAt = 1000; ///< records at the end of an index; more are never left by one kill
constexpr int kSyncedOneByOne = 64; ///< above this one sync of the whole file system is cheaper

/// The next number and its file, made while the index is locked. A number whose file lies there already, left by a
/// crash that lost the index's last changes, is passed over: that is a message, too. `file` is invalid when it cannot
/// be made. Returns -1 when the numbers are used up.
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
/// be made. kept: a record whose file could not be made stays.
int32_t AddRecord(std::string_view path, std::string_view row, Fd &file) {
    LockedIndex index(path);
    if (!index.Valid())
        return -1;
    int32_t const number = TakeNumber(path, index, file);
    if (number < 0)
        return -1;
    // kept: a message's file is locked while it is written; TakeBackReserved leaves it alone then
    bool const locked = file.Valid() && LockExclusive(file.Get());
    if (index.Append(number, row) && locked)
        return number;
    if (file.Valid())
        unlink(MessagePath(path, number).c_str());
    file.Reset();
    return -1;
}

/// Removes a message file that is empty, unless a sender still has it open. Returns false when it stays.
bool RemoveIfAbandoned(std::string const &file) {
    Fd const message(open(file.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK));
    if (!message.Valid())
        return errno == ENOENT;
    struct stat status;
    return fstat(message.Get(), &status) == 0 && S_ISREG(status.st_mode) && status.st_size == 0 &&
           flock(message.Get(), LOCK_EX | LOCK_NB) == 0 && unlink(file.c_str()) == 0;
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
    // kept: a folder that has an index is not created
    Fd const file(open(InFolder(path, "index2").c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600));
    struct stat status;
    if (!file.Valid() || !LockExclusive(file.Get()) || fstat(file.Get(), &status) != 0)
        return -1;
    // Another process may have found the file empty and put it right between the open and the lock.
    return status.st_size >= kIndexHeaderSize || WriteIndexHeader(file.Get()) ? 0 : -1;
}

int32_t AppendMessage(char const *path, std::string_view text) {
    char row[kRowWidth + 1];
    FormatHeaderRow(text.data(), row, sizeof row);
    Fd file;
    int32_t const number = AddRecord(path, row, file);
    if (number < 0)
        return -1;
    bool const written = WriteAll(file.Get(), text);
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
    LockedIndex const index(path);
    if (!index.Valid())
        return -1;
    long const offset = index.Find(number);
    IndexRecord listed;
    if (offset < 0 || !index.Read(offset, listed)) {
        errno = ENOENT;
        return -1;
    }
    if (!index.Overwrite(offset, IndexRecord{}))
        return -1;
    if (unlink(MessagePath(path, number).c_str()) == 0)
        return 0;
    int const error = errno;
    if (error != ENOENT)
        index.Overwrite(offset, listed);
    errno = error;
    return -1;
}

int TakeBackReserved(char const *path) {
    LockedIndex const index(path);
    int taken = 0;
    int looked = 0;
    if (index.Valid())
        index.FromTheEnd([&](IndexRecord const &record, long offset) {
            int32_t const number = RecordNumber(record);
            if (number != 0 && (record.row[0] != 0 || !RemoveIfAbandoned(MessagePath(path, number))))
                return false;
            if (number != 0 && index.Overwrite(offset, IndexRecord{}))
                taken++;
            return ++looked < kMostLookedAt;
        });
    if (taken > 0)
        LogError("%d messages of %s that were never written are taken back", taken, path);
    return taken;
}

bool ReadFolderIndex(char const *path, std::function<void(IndexRecord const &)> const &visit,
                     std::function<bool()> const &goOn) {
    // A FIFO's writer is not waited for.
    Fd const file(open(InFolder(path, "index2").c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK));
    if (!file.Valid())
        return false;
    RecordBlocks blocks(file.Get());
    bool repaired = false;
    for (;;) {
        std::span<IndexRecord> const block = blocks.Next();
        if (block.empty()) {
            if (repaired || !IsCut(file.Get(), path))
                return true;
            // What is put right comes after what was read.
            LockedIndex{path};
            repaired = true;
        }
        for (IndexRecord &record : block) {
            record.number = RecordNumber(record);
            record.flags = RecordFlags(record);
            if (record.number != 0)
                visit(record);
        }
        if (goOn && !goOn())
            return true;
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
    size_t const added = spare > 0 ? static_cast<size_t>(spare) : 1;
    size_t const size = static_cast<size_t>(status.st_size);
    if (size > std::numeric_limits<int32_t>::max() - added)
        return nullptr;
    std::unique_ptr<char, decltype(&free)> text(static_cast<char *>(malloc(size + added)), free);
    long const got = text ? ReadAll(file.Get(), text.get(), size) : -1;
    if (got < 0)
        return nullptr;
    memset(text.get() + got, 0, size + added - static_cast<size_t>(got));
    if (length)
        *length = got;
    return text.release();
}
