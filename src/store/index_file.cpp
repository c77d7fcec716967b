#include "store/index_file.h"

#include "base/log.h"
#include "store/cut_index.h"
#include "store/message_row.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <endian.h>
#include <fcntl.h>
#include <optional>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace {

constexpr long kRecordSize = sizeof(IndexRecord);
constexpr long kLastNumberOffset = 4;
constexpr size_t kBlock = 1260; ///< records read at a time, about 256 KB

int32_t FromDisk(int32_t value) { return static_cast<int32_t>(le32toh(static_cast<uint32_t>(value))); }
int32_t ToDisk(int32_t value) { return static_cast<int32_t>(htole32(static_cast<uint32_t>(value))); }

ssize_t ReadAt(int descriptor, void *buffer, size_t size, long offset) {
    ssize_t got;
    while ((got = pread(descriptor, buffer, size, offset)) < 0 && errno == EINTR)
        continue;
    return got;
}

/// The numbers that an index lists, ascending; 0 for its deleted records.
std::vector<int32_t> ListedNumbers(int descriptor, long end) {
    std::vector<int32_t> listed;
    RecordBlocks blocks(descriptor, end);
    for (std::span<IndexRecord> block; !(block = blocks.Next()).empty();)
        for (IndexRecord const &record : block)
            if (record.number != 0)
                listed.push_back(RecordNumber(record));
    std::sort(listed.begin(), listed.end());
    return listed;
}

} // namespace

std::string InFolder(std::string_view path, std::string_view name) {
    std::string joined(path);
    if (joined.empty() || joined.back() != '/')
        joined += '/';
    return joined.append(name);
}

std::string MessagePath(std::string_view path, int32_t number) { return InFolder(path, std::to_string(number)); }

bool WriteIndexHeader(int descriptor, int32_t lastNumber) {
    unsigned char header[kIndexHeaderSize] = {2, 0, 1, 0};
    lastNumber = ToDisk(lastNumber);
    memcpy(header + kLastNumberOffset, &lastNumber, sizeof lastNumber);
    return WriteAt(descriptor, header, sizeof header, 0);
}

bool WriteLastNumber(int descriptor, int32_t lastNumber) {
    lastNumber = ToDisk(lastNumber);
    return WriteAt(descriptor, &lastNumber, sizeof lastNumber, kLastNumberOffset);
}

IndexRecord MakeRecord(int32_t number, int32_t flags, std::string_view row) {
    IndexRecord record{.number = ToDisk(number), .flags = ToDisk(flags), .row = {}};
    row.copy(record.row, sizeof record.row);
    return record;
}

int32_t RecordNumber(IndexRecord const &record) { return FromDisk(record.number); }

int32_t RecordFlags(IndexRecord const &record) { return FromDisk(record.flags); }

bool ReadIndexState(int descriptor, IndexState &state) {
    struct stat status;
    if (fstat(descriptor, &status) != 0)
        return false;
    state.size = status.st_size;
    state.records = std::max(0L, (state.size - kIndexHeaderSize) / kRecordSize);
    int32_t last = 0;
    if (ReadAt(descriptor, &last, sizeof last, kLastNumberOffset) == sizeof last)
        state.lastNumber = FromDisk(last);
    else if (state.size >= kIndexHeaderSize)
        return false;
    return true;
}

bool ReadIndexRecord(int descriptor, long which, IndexRecord &record) {
    return ReadAt(descriptor, &record, sizeof record, EndOfRecords(which)) == kRecordSize;
}

RecordBlocks::RecordBlocks(int descriptor, long end)
    : descriptor_(descriptor), end_(end), buffer_(std::make_unique_for_overwrite<IndexRecord[]>(kBlock)) {}

std::span<IndexRecord> RecordBlocks::Next() {
    offset_ += static_cast<long>(block_.size_bytes());
    bool const empty =
        std::all_of(block_.begin(), block_.end(), [](auto const &record) { return record.number == 0; });
    if (!block_.empty() && empty)
        PassHole();
    // Each read starts at a record, so that one just being appended is seen whole or not at all.
    long const got = ReadAt(descriptor_, buffer_.get(), kBlock * sizeof(IndexRecord), offset_);
    long const whole = std::min(got, std::max(0L, end_ - offset_)) / kRecordSize;
    block_ = {buffer_.get(), static_cast<size_t>(std::max(0L, whole))};
    return block_;
}

/// Goes on where the file has data again, at a whole record.
void RecordBlocks::PassHole() {
    long data = lseek(descriptor_, offset_, SEEK_DATA);
    if (data < 0 && errno == ENXIO)
        data = lseek(descriptor_, 0, SEEK_END);
    if (data > offset_)
        offset_ += (data - offset_) / kRecordSize * kRecordSize;
}

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

LockedIndex::LockedIndex(std::string_view path)
    : file_(open(InFolder(path, "index2").c_str(), O_RDWR | O_CLOEXEC | O_NOFOLLOW)) {
    if (file_.Valid() && (!LockExclusive(file_.Get()) || !Load(path)))
        file_.Reset();
}

bool LockedIndex::Load(std::string_view path) {
    IndexState state;
    if (!ReadIndexState(file_.Get(), state))
        return false;
    lastNumber_ = state.lastNumber;
    records_ = state.records;
    return !IsCut(file_.Get(), path) || Restore(path);
}

/// Puts the header right and lists the messages that lie in the folder and have no record.
bool LockedIndex::Restore(std::string_view path) {
    std::optional<std::vector<int32_t>> const stored = StoredNumbers(path);
    if (!stored)
        return false;
    // A number handed out for a message deleted since is in the header alone, if that much of it is left.
    lastNumber_ = std::max({0, lastNumber_, stored->empty() ? 0 : stored->back()});
    // The header first: whatever happens to the rows, no number comes twice.
    if (!WriteIndexHeader(file_.Get(), lastNumber_))
        return false;
    std::vector<int32_t> const listed = ListedNumbers(file_.Get(), EndOfRecords(records_));
    std::vector<IndexRecord> records;
    for (int32_t number : *stored)
        // A file without text is of an append that was broken off.
        if (IndexRecord record; !std::binary_search(listed.begin(), listed.end(), number) && HasText(path, number) &&
                                RecordOfMessage(path, number, record))
            records.push_back(record);
    if (!WriteAt(file_.Get(), records.data(), records.size() * sizeof(IndexRecord), EndOfRecords(records_)))
        return false;
    records_ += static_cast<long>(records.size());
    LogError("The index of %s was cut: number %d follows, and %zu messages are listed again",
             std::string(path).c_str(), lastNumber_, records.size());
    return true;
}

bool LockedIndex::Append(int32_t number, std::string_view row) {
    if (!WriteLastNumber(file_.Get(), number))
        return false;
    lastNumber_ = number;
    if (!Overwrite(EndOfRecords(records_), MakeRecord(number, 0, row)))
        return false;
    records_++;
    return true;
}

long LockedIndex::Find(int32_t number) const {
    if (number == 0)
        return -1;
    // kept: of two records with one number the first is meant, so all before it are looked at
    RecordBlocks blocks(file_.Get(), EndOfRecords(records_));
    for (std::span<IndexRecord> block; !(block = blocks.Next()).empty();)
        for (IndexRecord const &record : block)
            if (record.number == ToDisk(number))
                return blocks.Offset() + (&record - block.data()) * kRecordSize;
    return -1;
}

bool LockedIndex::Read(long offset, IndexRecord &record) const {
    return ReadAt(file_.Get(), &record, sizeof record, offset) == kRecordSize;
}

bool LockedIndex::Overwrite(long offset, IndexRecord const &record) const {
    return WriteAt(file_.Get(), &record, sizeof record, offset);
}
