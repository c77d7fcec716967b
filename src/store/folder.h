#pragma once
// A mail folder: a directory with one file per message, named by its number, and the index "index2".
// docs/formats.md has both formats byte by byte.

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

/// Makes the folder `path` (mode 0700) with an empty index. Returns 0, or -1 when it has an index already or none
/// can be made; nothing changes then.
int CreateFolder(char const *path);

/// Stores the message `text` in the folder and adds its row to the index. A NUL must stand behind the text; a plain
/// string goes up to its NUL, a text with a length goes whole, whatever it holds. Returns the new message number, or
/// -1: without an index nothing is stored; when only the message file failed its record stays.
int32_t AppendMessage(char const *path, std::string_view text);

/// Hands out the next number with an empty row, for a message that the caller writes. Returns a descriptor open
/// for writing on the new file (the caller closes it), negative on failure. An old index is converted first.
int ReserveMessage(char const *path, int32_t &number);

/// Formats the row of a stored message into `row` of kRowWidth bytes, from its first 4999 bytes. Returns `row`, or a
/// constant empty string when the message cannot be opened.
char const *ReadMessageRow(char const *profile, char const *folder, int32_t number, char *row);

/// Overwrites flags and row of a record. Returns 0, or -1 when the number is not in the index.
int UpdateIndexRow(char const *profile, char const *folder, int32_t number, int32_t flags, char const *row);

/// Blanks the record of a message and removes its file. Returns the result of unlink, or -1 when the number is not
/// in the index (0 and below never is).
int DeleteMessage(char const *path, int32_t number);

/// Builds "index2" from the index of earlier versions, "index", which stays. Returns 0, or -1 when there is no
/// old index or the new one cannot be made.
int ConvertFolderIndex(char const *profile, char const *folder);

/// Calls `visit` for each record that is not deleted, in the index's order, reading in blocks and taking no lock; a
/// short record at the end is ignored. Only an index that was cut is locked, to put it right. The record is valid
/// during the call only. Returns false when the index cannot be opened.
bool ReadFolderIndex(char const *path, std::function<void(IndexRecord const &)> const &visit);

/// Brings what was stored in the folder safely to disk: the files of the numbers given, the index, the directory.
/// Called once before a session lets the server delete. Returns false when any of it failed.
bool SyncFolder(char const *path, int32_t const *numbers, int count);

/// Reads a whole message file into a NUL-terminated buffer with `spare` zero bytes behind it, from malloc; the
/// caller frees it. Null when it cannot be read. `length`, when not null, gets the bytes read.
char *ReadMessageFile(char const *path, int32_t number, int spare, long *length);
