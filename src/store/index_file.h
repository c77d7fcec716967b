#pragma once
// The file "index2" of a folder: its header, its records, its lock. docs/formats.md has it byte by byte.

#include "base/fd.h"
#include "store/folder.h"

#include <limits>
#include <memory>
#include <span>
#include <string>
#include <string_view>

constexpr long kIndexHeaderSize = 24;

/// The path of `name` in the folder `path`.
std::string InFolder(std::string_view path, std::string_view name);
/// The path of a message file.
std::string MessagePath(std::string_view path, int32_t number);

/// Writes the 24 bytes that an index starts with to the start of an open file. Returns false, with errno telling why,
/// when they cannot be written whole.
bool WriteIndexHeader(int descriptor, int32_t lastNumber = 0);

/// Stores the number handed out last in the header. Returns false, with errno telling why, when that fails.
bool WriteLastNumber(int descriptor, int32_t lastNumber);

/// A record as it stands in the file: little-endian whatever the machine, its row cut at 200 bytes.
IndexRecord MakeRecord(int32_t number, int32_t flags, std::string_view row);
/// The number and the flags of a record as it stands in the file.
int32_t RecordNumber(IndexRecord const &record);
int32_t RecordFlags(IndexRecord const &record);

/// The offset after so many records.
constexpr long EndOfRecords(long records) {
    return kIndexHeaderSize + records * static_cast<long>(sizeof(IndexRecord));
}

/// What an index says of itself.
struct IndexState {
    long size = 0;
    long records = 0;       ///< whole ones
    int32_t lastNumber = 0; ///< 0 as well when the header was cut off before it
};

/// Reads it from an open index. Returns false on a read error.
bool ReadIndexState(int descriptor, IndexState &state);

/// Reads one record of an open index, the first is 0. Returns false when it is not there whole.
bool ReadIndexRecord(int descriptor, long which, IndexRecord &record);

/// The whole records of an open index from the first on, some hundred at a time. Stretches of the file that were
/// never written (a sparse file has them) hold deleted records only and are passed over.
class RecordBlocks {
  public:
    /// Reads up to the offset `end`, or as far as the file goes.
    explicit RecordBlocks(int descriptor, long end = std::numeric_limits<long>::max());
    /// The next records; empty at the end, or on a read error: a further call goes on there. They are the caller's
    /// until the next call, as they stand in the file.
    std::span<IndexRecord> Next();
    /// The offset of the first of them.
    long Offset() const { return offset_; }

  private:
    void PassHole();

    int descriptor_;
    long end_;
    long offset_ = kIndexHeaderSize;
    std::unique_ptr<IndexRecord[]> buffer_;
    std::span<IndexRecord> block_;
};

/// Writes all of `bytes` at `offset`. Returns false, with errno telling why, on an error; some may be written then.
bool WriteAt(int descriptor, void const *bytes, size_t size, long offset);

/// Takes the exclusive flock of an open file; waits for it. Closing the file gives it back. Returns false when the
/// file system has no locks.
bool LockExclusive(int descriptor);

/// The index of a folder, open for changes under the exclusive flock that serialises them; released with the object.
class LockedIndex {
  public:
    /// Waits for the lock. An index that was cut gets its header back, and records of the messages that lie in the
    /// folder; the repair is logged. Not valid, with errno telling why, when there is no index, or it can be neither
    /// locked nor repaired.
    explicit LockedIndex(std::string_view path);
    bool Valid() const { return file_.Valid(); }

    /// The number handed out last; at least 0.
    int32_t LastNumber() const { return lastNumber_; }
    /// Stores the number handed out last and appends a record; a torn record at the end is overwritten. Returns false
    /// on a write error: the number counts as handed out then, and there is no record.
    bool Append(int32_t number, std::string_view row);
    /// The offset of the first record of `number`, -1 when there is none. 0 has none.
    long Find(int32_t number) const;
    /// Reads the record at `offset`. Returns false when it cannot be read.
    bool Read(long offset, IndexRecord &record) const;
    /// Writes over the record at `offset`. Returns false, with errno telling why, on a write error.
    bool Overwrite(long offset, IndexRecord const &record) const;
    /// The last records, latest first, as long as `visit(record, offset)` returns true.
    template <class Visit> void FromTheEnd(Visit visit) const {
        IndexRecord record;
        for (long which = records_ - 1; which >= 0 && ReadIndexRecord(file_.Get(), which, record); which--)
            if (!visit(record, EndOfRecords(which)))
                return;
    }

  private:
    bool Load(std::string_view path);
    bool Restore(std::string_view path);

    Fd file_;
    int32_t lastNumber_ = 0;
    long records_ = 0; ///< whole ones
};
