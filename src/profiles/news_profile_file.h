#pragma once
// The file of a news profile, ConfigRoot/news/<name>.dat: six lines of text and five empty ones. docs/formats.md has
// it byte by byte.

#include "base/account.h"

#include <string>
#include <string_view>

/// The text of the profile's file, password encoded; empty when the encoded password is longer than its 64 bytes. A
/// field ends at its first line break.
std::string NewsProfileText(NewsProfile const &profile);

/// Fills the fields from a file's text (cut at kProfileFileBytes) and resets the connection's state. Empty lines are
/// skipped, so an empty field moves all later ones up by one.
void ParseNewsProfile(std::string_view text, NewsProfile &profile);

/// Reads ConfigRoot/news/<name>.dat. Returns 1, also when there is no such file (only the name is set), or -1 when
/// the user has no password entry.
int ReadNewsProfile(char const *name, NewsProfile &profile);

/// Writes `directory`<name>.dat (mode 0600) beside and renames it over the old one. `directory` ends in a slash.
/// Returns false and leaves the old file when any of it fails, or when the password does not fit.
bool WriteNewsProfile(std::string const &directory, NewsProfile const &profile);
