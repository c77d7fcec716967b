#pragma once
// A mail folder: a directory with one file per message, named by its number, and the index "index2".
// docs/formats.md has both formats byte by byte. No call shows anything to the user; all may be made on any thread
// and by several processes at once.

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

constexpr int kRowWidth = 200;

/// One record of "index2", 208 bytes, integers little-endian. A row of 200 bytes or more has no terminating zero.
struct IndexRecord {
    int32_t number; ///< the name of the message's file; 0 for a deleted message
    int32_t flags;  ///< written 0, ignored by readers
    char row[kRowWidth];
};
static_assert(sizeof(IndexRecord) == 208);

/// Makes the folder `path` (mode 0700) with an empty index, or with one made from an old index. Returns 0, or -1 when
/// it has an index already or none can be made; then at most the directory is new.
int CreateFolder(char const *path);

/// Stores the message `text` in the folder and adds its row to the index. A NUL must follow the text; a plain string
/// goes up to its NUL, a text with a length goes whole, whatever it holds. Returns the new message number, or -1:
/// without an index nothing is stored; when only the message file failed its record stays and half a file does not.
int32_t AppendMessage(char const *path, std::string_view text);

/// Hands out the next number with an empty row, for a message that the caller writes. An old index is converted
/// first. Returns a descriptor open for writing on the new file (the caller closes it), negative on failure: `number`
/// is unchanged then, and a record without a file may stay.
int ReserveMessage(char const *path, int32_t &number);

/// Takes back what a program left that was killed before it wrote its reserved message: the records at the end of the
/// index whose row and file are empty, with these files. One that a sender has open stays. Returns how many they
/// were; 0 also when the index cannot be opened.
int TakeBackReserved(char const *path);

/// Overwrites flags and row (at most kRowWidth bytes, it need not be terminated then) of the number's first record.
/// Returns 0, or -1, with nothing changed, when the number is not in the index or the index cannot be written.
int UpdateIndexRow(char const *profile, char const *folder, int32_t number, int32_t flags, char const *row);

/// Blanks the first record of a message and removes its file. Returns the result of unlink, or -1 when the number is
/// not in the index (0 never is). After -1 errno tells: with ENOENT nothing is left of the message, with any other
/// error it is there as before.
int DeleteMessage(char const *path, int32_t number);

/// Calls `visit` for each record that is not deleted, in the index's order, reading in blocks and taking no lock; a
/// short record at the end is ignored. Only an index that was cut is locked, to put it right. The record is valid
/// during the call only. `goOn`, when given, is asked after each block, the last one, too, and ends the reading when
/// it returns false. Returns false, without a call, when the index cannot be opened.
bool ReadFolderIndex(char const *path, std::function<void(IndexRecord const &)> const &visit,
                     std::function<bool()> const &goOn = {});

/// Brings what was stored in the folder safely to disk: the files of the numbers given (those that are there), the
/// index, the directory. Called once before a session lets the server delete. Returns false when any of it failed.
bool SyncFolder(char const *path, int32_t const *numbers, int count);

/// Reads a whole message file into a NUL-terminated buffer with `spare` zero bytes at its end, from malloc; the
/// caller frees it. `length`, when not null, gets the bytes read. Null (and a length of 0) when the file cannot be
/// read, is no regular file or of 2 GB or more.
char *ReadMessageFile(char const *path, int32_t number, int spare, long *length);
