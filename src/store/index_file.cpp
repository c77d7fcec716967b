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

/// The numbers of the message files that lie in a folder, ascending.
std::vector<int32_t> StoredNumbers(std::string_view path) {
    std::vector<int32_t> numbers;
    std::unique_ptr<DIR, int (*)(DIR *)> const entries(opendir(std::string(path).c_str()), closedir);
    if (!entries)
        return numbers;
    while (dirent const *entry = readdir(entries.get())) {
        std::string_view const name = entry->d_name;
        int32_t number = 0;
        auto const [end, error] = std::from_chars(name.data(), name.data() + name.size(), number);
        if (error == std::errc() && end == name.data() + name.size() && number > 0 && name[0] != '0')
            numbers.push_back(number);
    }
    std::sort(numbers.begin(), numbers.end());
    return numbers;
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

LockedIndex::LockedIndex(std::string_view path)
    : file_(open(InFolder(path, "index2").c_str(), O_RDWR | O_CLOEXEC | O_NOFOLLOW)) {
    if (!file_.Valid())
        return;
    int locked;
    while ((locked = flock(file_.Get(), LOCK_EX)) != 0 && errno == EINTR)
        continue;
    if (locked != 0 || !Load(path))
        file_.Reset();
}

bool LockedIndex::Load(std::string_view path) {
    struct stat status;
    if (fstat(file_.Get(), &status) != 0)
        return false;
    int32_t last = 0;
    if (status.st_size < kIndexHeaderSize)
        return Rebuild(path);
    if (pread(file_.Get(), &last, sizeof last, kLastNumberOffset) != sizeof last)
        return false;
    lastNumber_ = FromDisk(last);
    long const records = (status.st_size - kIndexHeaderSize) / kRecordSize;
    end_ = kIndexHeaderSize + records * kRecordSize;
    if (lastNumber_ < 0) {
        // Not a number we ever wrote: go on behind what lies in the folder.
        std::vector<int32_t> const numbers = StoredNumbers(path);
        lastNumber_ = numbers.empty() ? 0 : numbers.back();
    }
    return true;
}

bool LockedIndex::Rebuild(std::string_view path) {
    std::vector<int32_t> const numbers = StoredNumbers(path);
    lastNumber_ = numbers.empty() ? 0 : numbers.back();
    // A number handed out for a message deleted since is in the header alone, if that much of it is left.
    int32_t last = 0;
    if (pread(file_.Get(), &last, sizeof last, kLastNumberOffset) == sizeof last)
        lastNumber_ = std::max(lastNumber_, FromDisk(last));
    IndexHeader const header = MakeIndexHeader(lastNumber_);
    // The header first: whatever happens to the rows, no number comes twice.
    if (!WriteAt(file_.Get(), &header, sizeof header, 0))
        return false;
    std::vector<IndexRecord> records;
    for (int32_t number : numbers)
        if (IndexRecord record; RecordOfMessage(path, number, record))
            records.push_back(record);
    if (!WriteAt(file_.Get(), records.data(), records.size() * sizeof(IndexRecord), kIndexHeaderSize))
        return false;
    end_ = kIndexHeaderSize + static_cast<long>(records.size()) * kRecordSize;
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
    long const likely = kIndexHeaderSize + (number - 1L) * kRecordSize;
    if (likely < end_ && pread(file_.Get(), &record, sizeof record, likely) == kRecordSize &&
        RecordNumber(record) == number)
        return likely;
    auto const block = std::make_unique_for_overwrite<IndexRecord[]>(kSearchBlock);
    for (long offset = kIndexHeaderSize; offset < end_;) {
        ssize_t const got = pread(file_.Get(), block.get(), kSearchBlock * sizeof(IndexRecord), offset);
        long const whole = got / kRecordSize;
        if (whole <= 0)
            break;
        for (long i = 0; i < whole; i++)
            if (RecordNumber(block[static_cast<size_t>(i)]) == number)
                return offset + i * kRecordSize;
        offset += whole * kRecordSize;
    }
    return -1;
}

bool LockedIndex::Overwrite(long offset, IndexRecord const &record) const {
    return WriteAt(file_.Get(), &record, sizeof record, offset);
}
