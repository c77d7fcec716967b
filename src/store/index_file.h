#pragma once
// The file "index2" of a folder: its header, its records, its lock.

#include "base/fd.h"
#include "store/folder.h"

#include <string>
#include <string_view>

constexpr long kIndexHeaderSize = 24;

/// The path of `name` in the folder `path`.
std::string InFolder(std::string_view path, std::string_view name);
/// The path of a message file.
std::string MessagePath(std::string_view path, int32_t number);

/// The 24 bytes an index begins with.
struct IndexHeader {
    unsigned char bytes[kIndexHeaderSize];
};
IndexHeader MakeIndexHeader(int32_t lastNumber);

/// A record as it stands in the file: little-endian whatever the machine.
IndexRecord MakeRecord(int32_t number, int32_t flags, std::string_view row);
/// The number and the flags of a record as it stands in the file.
int32_t RecordNumber(IndexRecord const &record);
int32_t RecordFlags(IndexRecord const &record);

/// Writes all of `bytes` at `offset`. Returns false on an error.
bool WriteAt(int descriptor, void const *bytes, size_t size, long offset);

/// Takes the exclusive flock of an open file; waits for it. Closing the file gives it back.
bool LockExclusive(int descriptor);

/// Whether the open index of the folder `path` was cut: in its header, in a record, or so that messages may lie in
/// the folder whose records are gone. An index with a number that nobody wrote counts as cut.
bool IsCut(int descriptor, std::string_view path);

/// The index of a folder, open for changes under the exclusive flock that serialises them; released with the object.
class LockedIndex {
  public:
    /// Waits for the lock. An index that was cut gets its header back, and records of the messages that lie in the
    /// folder.
    explicit LockedIndex(std::string_view path);
    bool Valid() const { return file_.Valid(); }

    /// The number handed out last; at least 0.
    int32_t LastNumber() const { return lastNumber_; }
    /// Stores the number handed out last and appends a record; a torn record at the end is overwritten.
    bool Append(int32_t number, std::string_view row);
    /// The offset of the first record of `number`, -1 when there is none.
    long Find(int32_t number) const;
    bool Overwrite(long offset, IndexRecord const &record) const;

  private:
    bool Load(std::string_view path);
    bool Restore(std::string_view path);
    template <class Visit> void FindRecord(Visit visit) const;

    Fd file_;
    int32_t lastNumber_ = 0;
    long end_ = kIndexHeaderSize; ///< behind the last whole record
};

/// ConvertFolderIndex for a folder's path.
int ConvertIndexAt(std::string_view path);

/// The record of a stored message, its row made from the message's first 4999 bytes and empty when they cannot be
/// read. Returns false when there is no such file.
bool RecordOfMessage(std::string_view path, int32_t number, IndexRecord &record);

/// Fills `text`, of `size` bytes, with the begin of a stored message and terminates it. Returns false when there is
/// no such regular file.
bool ReadMessageBegin(std::string const &file, char *text, size_t size);
