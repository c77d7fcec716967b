#pragma once
// The file of a mail profile, ConfigRoot/<name>.dat: nine lines of text and two empty ones. docs/formats.md has it
// byte by byte.

#include "profiles/profile_file.h"

/// The text of the profile's file, password encoded. A field ends at its first line break.
std::string MailProfileText(MailProfile const &profile);

/// Fills the fields from a file's text (cut at kProfileFileBytes) and resets the connection's state. Empty lines are
/// skipped, so an empty field moves all later ones up by one. Fields that the text does not have stay as they are.
void ParseMailProfile(std::string_view text, MailProfile &profile);

/// Reads `path` as the profile `name`. False when it cannot be opened; the record is left untouched then.
bool ReadMailProfileFile(std::string const &path, char const *name, MailProfile &profile);

/// Reads ConfigRoot/<name>.dat. Returns 1, also when there is no such file (the record is left untouched), or -1 when
/// the user has no password entry.
int ReadMailProfile(char const *name, MailProfile &profile);

/// Writes the profile's record below `directory`, which ends in a slash, as WriteRecord does.
bool WriteMailProfile(std::string const &directory, MailProfile const &profile);

/// True when a mail profile may have this name: any profile's name but "news", whose directory holds the news
/// profiles.
bool IsMailProfileName(std::string_view name);
