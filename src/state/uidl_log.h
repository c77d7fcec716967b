#pragma once
// Which messages of a POP3 account were taken in: by their unique identifiers (RFC 1939 7), in a file of their own
// for each account under StateDirectory. With it each message comes exactly once, whatever the server keeps and
// whenever the program is killed; and deleting a message here deletes it there at the next check.
//
// The file is lines of words separated by blanks, only ever appended to, and rewritten when most of it is out of
// date:
//   fetch NUMBER UID...   these messages are about to be stored in the Inbox, with numbers above NUMBER
//   seen UID FOLDER NUMBER TIME   this one is safely stored there, since so many seconds after 1970
//   done                  the fetch that was begun is over
//   moved FOLDER NUMBER FOLDER NUMBER   and  deleted FOLDER NUMBER   what became of a stored message
//   gone UID              the server has it no longer
// A line without its line end was cut by a kill and does not count. Folder names are percent-encoded.

#include "base/fd.h"

#include <cstdint>
#include <map>
#include <span>
#include <string>
#include <string_view>
#include <vector>

struct SeenMessage {
    std::string folder; ///< where its copy is; empty after it was deleted
    int32_t number = 0;
    int64_t time = 0; ///< when it was taken in, in seconds since 1970
};

struct StoredMessage {
    std::string uid;
    int32_t number; ///< in the Inbox
};

/// One account's log, held open and locked (flock) for one check. Not for more than one thread.
class UidlLog {
  public:
    /// Opens the log of a mail profile, made when there is none; its name must have passed IsPlainName. Waits up to
    /// 10 s for another program's check. Valid() is false when it cannot be had, and errno says why.
    explicit UidlLog(std::string const &profile);
    bool Valid() const { return file_.Valid(); }

    /// The message's entry, null for one that was never taken in.
    SeenMessage const *Find(std::string const &uid) const;
    std::map<std::string, SeenMessage, std::less<>> const &All() const { return seen_; }

    /// The identifiers of a fetch that was not ended: their messages may be in the Inbox, with numbers above
    /// UnendedFrom().
    std::vector<std::string> const &Unended() const { return unended_; }
    int32_t UnendedFrom() const { return unendedFrom_; }

    /// Before the first of these messages is stored: on disk when it returns true.
    bool Begin(int32_t lastNumber, std::span<std::string const> uids);

    /// After all of these are stored and synced: on disk when it returns true.
    bool Commit(std::span<StoredMessage const> stored, int64_t now);

    /// The server has only these messages: forgets all others, and shortens the file when that is worth it.
    bool KeepOnly(std::map<std::string, int, std::less<>> const &onServer);

  private:
    void Read(std::string_view text);
    void Apply(std::string_view line);
    bool Append(std::string const &lines);
    std::string Text() const;

    std::string path_;
    Fd file_;
    std::map<std::string, SeenMessage, std::less<>> seen_;
    std::map<std::pair<std::string, int32_t>, std::string> byPlace_; ///< the identifier of a stored message
    std::vector<std::string> unended_;
    int32_t unendedFrom_ = 0;
    size_t lines_ = 0;
};

/// True for what a server may name a message (RFC 1939 7): 1 to 70 printable ASCII characters. Up to 255 are borne.
bool IsUid(std::string_view uid);

/// Notes what became of a stored message, for the profile's next check. Profiles without a log have nothing noted.
/// Any thread; one write, not synced.
void NoteMoved(std::string const &profile, std::string_view folder, int32_t number, std::string_view newFolder,
               int32_t newNumber);
void NoteDeleted(std::string const &profile, std::string_view folder, int32_t number);
