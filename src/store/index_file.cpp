#include "store/index_file.h"

#include "base/text.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstring>
#include <dirent.h>
#include <endian.h>
#include <fcntl.h>
#include <memory>
#include <optional>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace {

constexpr long kRecordSize = sizeof(IndexRecord);
constexpr long kLastNumberOffset = 4;
constexpr size_t kSearchBlock = 512; ///< records read at a time while searching

int32_t FromDisk(int32_t value) { return static_cast<int32_t>(le32toh(static_cast<uint32_t>(value))); }
int32_t ToDisk(int32_t value) { return static_cast<int32_t>(htole32(static_cast<uint32_t>(value))); }

/// The numbers of the message files that lie in a folder, ascending. Nothing when the folder cannot be read.
std::optional<std::vector<int32_t>> StoredNumbers(std::string_view path) {
    std::unique_ptr<DIR, int (*)(DIR *)> const entries(opendir(std::string(path).c_str()), closedir);
    if (!entries)
        return std::nullopt;
    std::vector<int32_t> numbers;
    errno = 0;
    while (dirent const *entry = readdir(entries.get())) {
        std::string_view const name = entry->d_name;
        int32_t number = 0;
        auto const [end, error] = std::from_chars(name.data(), name.data() + name.size(), number);
        if (error == std::errc() && end == name.data() + name.size() && number > 0 && name[0] != '0')
            numbers.push_back(number);
    }
    if (errno != 0)
        return std::nullopt;
    std::sort(numbers.begin(), numbers.end());
    return numbers;
}

/// Whether a message's file is there with more than its name.
bool HasText(std::string_view path, int32_t number) {
    struct stat status;
    return lstat(MessagePath(path, number).c_str(), &status) == 0 && S_ISREG(status.st_mode) && status.st_size > 0;
}

/// What an index says of itself.
struct IndexState {
    long size = 0;
    long records = 0;       ///< whole ones
    int32_t lastNumber = 0; ///< 0 as well when the header was cut off before it
};

bool ReadState(int descriptor, IndexState &state) {
    struct stat status;
    if (fstat(descriptor, &status) != 0)
        return false;
    state.size = status.st_size;
    state.records = std::max(0L, (state.size - kIndexHeaderSize) / kRecordSize);
    int32_t last = 0;
    if (pread(descriptor, &last, sizeof last, kLastNumberOffset) == sizeof last)
        state.lastNumber = FromDisk(last);
    else if (state.size >= kIndexHeaderSize)
        return false;
    return true;
}

/// The offset behind so many records.
constexpr long EndOf(long records) { return kIndexHeaderSize + records * kRecordSize; }

/// IsCut of an index in this state.
bool IsCut(int descriptor, std::string_view path, IndexState const &state) {
    bool const torn = state.size < kIndexHeaderSize || state.size != EndOf(state.records);
    if (torn || state.lastNumber < 0)
        return true;
    if (state.records >= state.lastNumber)
        return false;
    // Fewer records than numbers: the folder was converted, numbers were wasted, or the end is gone.
    IndexRecord record{};
    if (state.records > 0 && pread(descriptor, &record, sizeof record, EndOf(state.records - 1)) != sizeof record)
        return false;
    int32_t const last = RecordNumber(record);
    bool const deleted = state.records > 0 && last == 0;
    return (!deleted && last < state.lastNumber - 1) || (last != state.lastNumber && HasText(path, state.lastNumber));
}

} // namespace

std::string InFolder(std::string_view path, std::string_view name) {
    std::string joined(path);
    if (joined.empty() || joined.back() != '/')
        joined += '/';
    return joined.append(name);
}

std::string MessagePath(std::string_view path, int32_t number) { return InFolder(path, std::to_string(number)); }

IndexHeader MakeIndexHeader(int32_t lastNumber) {
    IndexHeader header{{2, 0, 1, 0}};
    lastNumber = ToDisk(lastNumber);
    memcpy(header.bytes + kLastNumberOffset, &lastNumber, sizeof lastNumber);
    return header;
}

IndexRecord MakeRecord(int32_t number, int32_t flags, std::string_view row) {
    IndexRecord record{.number = ToDisk(number), .flags = ToDisk(flags), .row = {}};
    row.copy(record.row, sizeof record.row);
    return record;
}

int32_t RecordNumber(IndexRecord const &record) { return FromDisk(record.number); }

int32_t RecordFlags(IndexRecord const &record) { return FromDisk(record.flags); }

bool WriteAt(int descriptor, void const *bytes, size_t size, long offset) {
    auto const *from = static_cast<char const *>(bytes);
    while (size > 0) {
        ssize_t const written = pwrite(descriptor, from, size, offset);
        if (written < 0 && errno == EINTR)
            continue;
        if (written < 0)
            return false;
        from += written;
        offset += written;
        size -= static_cast<size_t>(written);
    }
    return true;
}

bool LockExclusive(int descriptor) {
    int locked;
    while ((locked = flock(descriptor, LOCK_EX)) != 0 && errno == EINTR)
        continue;
    return locked == 0;
}

bool IsCut(int descriptor, std::string_view path) {
    IndexState state;
    return ReadState(descriptor, state) && IsCut(descriptor, path, state);
}

LockedIndex::LockedIndex(std::string_view path)
    : file_(open(InFolder(path, "index2").c_str(), O_RDWR | O_CLOEXEC | O_NOFOLLOW)) {
    if (file_.Valid() && (!LockExclusive(file_.Get()) || !Load(path)))
        file_.Reset();
}

bool LockedIndex::Load(std::string_view path) {
    IndexState state;
    if (!ReadState(file_.Get(), state))
        return false;
    lastNumber_ = state.lastNumber;
    end_ = EndOf(state.records);
    return !IsCut(file_.Get(), path, state) || Restore(path);
}

/// Puts the header right and lists the messages that lie in the folder and have no record.
bool LockedIndex::Restore(std::string_view path) {
    std::optional<std::vector<int32_t>> const stored = StoredNumbers(path);
    if (!stored)
        return false;
    // A number handed out for a message deleted since is in the header alone, if that much of it is left.
    lastNumber_ = std::max({0, lastNumber_, stored->empty() ? 0 : stored->back()});
    IndexHeader const header = MakeIndexHeader(lastNumber_);
    // The header first: whatever happens to the rows, no number comes twice.
    if (!WriteAt(file_.Get(), &header, sizeof header, 0))
        return false;
    std::vector<int32_t> listed;
    FindRecord([&listed](int32_t number, long) {
        listed.push_back(number);
        return false;
    });
    std::sort(listed.begin(), listed.end());
    std::vector<IndexRecord> records;
    for (int32_t number : *stored)
        // A file without text is of an append that was broken off.
        if (IndexRecord record; !std::binary_search(listed.begin(), listed.end(), number) && HasText(path, number) &&
                                RecordOfMessage(path, number, record))
            records.push_back(record);
    if (!WriteAt(file_.Get(), records.data(), records.size() * sizeof(IndexRecord), end_))
        return false;
    end_ += static_cast<long>(records.size()) * kRecordSize;
    return true;
}

bool LockedIndex::Append(int32_t number, std::string_view row) {
    int32_t const last = ToDisk(number);
    IndexRecord const record = MakeRecord(number, 0, row);
    if (!WriteAt(file_.Get(), &last, sizeof last, kLastNumberOffset))
        return false;
    lastNumber_ = number;
    if (!WriteAt(file_.Get(), &record, sizeof record, end_))
        return false;
    end_ += kRecordSize;
    return true;
}

long LockedIndex::Find(int32_t number) const {
    if (number <= 0)
        return -1;
    // In a folder that was never converted the n-th record is that of number n.
    IndexRecord record;
    long const likely = EndOf(number - 1L);
    if (likely < end_ && pread(file_.Get(), &record, sizeof record, likely) == kRecordSize &&
        RecordNumber(record) == number)
        return likely;
    long found = -1;
    FindRecord([&](int32_t listed, long offset) {
        found = listed == number ? offset : -1;
        return found >= 0;
    });
    return found;
}

/// Calls `visit(number, offset)` for each record until it returns true.
template <class Visit> void LockedIndex::FindRecord(Visit visit) const {
    auto const block = std::make_unique_for_overwrite<IndexRecord[]>(kSearchBlock);
    for (long offset = kIndexHeaderSize; offset < end_;) {
        ssize_t const got = pread(file_.Get(), block.get(), kSearchBlock * sizeof(IndexRecord), offset);
        long const whole = std::min(got / kRecordSize, (end_ - offset) / kRecordSize);
        if (whole <= 0)
            return;
        for (long i = 0; i < whole; i++, offset += kRecordSize)
            if (visit(RecordNumber(block[static_cast<size_t>(i)]), offset))
                return;
    }
}

bool LockedIndex::Overwrite(long offset, IndexRecord const &record) const {
    return WriteAt(file_.Get(), &record, sizeof record, offset);
}
