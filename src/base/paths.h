#pragma once
// Where the user's things live: everything below ConfigRoot, the directory ".Corvanta" in the home
// directory of the real user id's password entry. The environment's HOME is not looked at.

#include <optional>
#include <string>
#include <string_view>

/// The folders that every mail profile has.
constexpr char kInbox[] = "Inbox";
constexpr char kOutbox[] = "Outbox";
constexpr char kSaved[] = "Saved";

/// Where the standard way keeps what went out; made when the first message does.
constexpr char kSent[] = "Sent";

/// The home directory from the password entry of the real user id; nothing when there is none.
std::optional<std::string> HomeDirectory();

/// The user's directory <home>/.Corvanta/ with the slash; nothing without a password entry.
std::optional<std::string> FindConfigRoot();

/// FindConfigRoot for paths that are built whether there is a password entry or not: without one the home is taken as
/// empty, which gives "/.Corvanta/".
std::string ConfigRoot();

/// ConfigRoot/<profile>/<folder>/ with the slash. The names must have passed IsPlainName.
std::string FolderDirectory(std::string_view profile, std::string_view folder);

/// Makes all directories that `path` names before its last slash (mode 0700). Those that are there stay as they are.
void MakeDirectories(std::string const &path);
