#pragma once
// Where the user's things live: everything below ConfigRoot, the directory ".Corvanta" in the home
// directory of the real user id's password entry. The environment's HOME is not looked at.

#include <optional>
#include <string>
#include <string_view>

/// The scratch directory <home>/.Corvanta/.tmp/ (with the slash), or empty when the user has no
/// password entry. Written once at start-up by SetTempDir, then read by every thread.
extern char TempDir[1100];

/// The folders that every mail profile has.
constexpr char kInbox[] = "Inbox";
constexpr char kOutbox[] = "Outbox";
constexpr char kSaved[] = "Saved";

/// The home directory from the password entry of the real user id; nothing when there is none.
std::optional<std::string> HomeDirectory();

/// The user's directory <home>/.Corvanta/ with the slash; nothing without a password entry.
std::optional<std::string> FindConfigRoot();

/// FindConfigRoot for paths that are built whether there is a password entry or not: without one the home is taken as
/// empty, which gives "/.Corvanta/".
std::string ConfigRoot();

/// ConfigRoot/<profile>/<folder>/ with the slash. The names must have passed IsPlainName.
std::string FolderDirectory(std::string_view profile, std::string_view folder);

/// Fills TempDir from the password entry and makes the directory (mode 0700). On the very first start
/// its parent does not exist yet and neither will it: the next start makes it.
void SetTempDir();

/// Makes all directories that `path` names before its last slash (mode 0700). Those that are there stay as they are.
void MakeDirectories(std::string const &path);

/// Removes the files of `directory` (a path ending in a slash), the raw message "originalmsg" and the
/// page "msg.html" only when `removeAll`. Links are removed, never followed; of directories only empty ones go.
void RemoveTempFiles(char const *directory, bool removeAll);
