#pragma once
// The file of a news profile, ConfigRoot/news/<name>.dat: six lines of text and five empty ones. docs/formats.md has
// it byte by byte.

#include "profiles/profile_file.h"

/// True when the encoded password fits the 64 bytes that the record has for it: up to 48 bytes of password.
bool NewsPasswordFits(NewsProfile const &profile);

/// The text of the profile's file, password encoded; empty when the encoded password is longer than its 64 bytes. A
/// field ends at its first line break.
std::string NewsProfileText(NewsProfile const &profile);

/// Fills the fields from a file's text (cut at kProfileFileBytes) and resets the connection's state. Empty lines are
/// skipped, so an empty field moves all later ones up by one.
void ParseNewsProfile(std::string_view text, NewsProfile &profile);

/// Reads ConfigRoot/news/<name>.dat. Returns 1, also when there is no such file (only the name is set), or -1 when
/// the user has no password entry.
int ReadNewsProfile(char const *name, NewsProfile &profile);

/// Writes the profile's record below `directory`, which ends in a slash, as WriteRecord does. Returns false and
/// leaves the old file also when the password does not fit.
bool WriteNewsProfile(std::string const &directory, NewsProfile const &profile);
