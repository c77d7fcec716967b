#pragma once
// The file of a mail profile, ConfigRoot/<name>.dat: nine lines of text and two empty ones. docs/formats.md has it
// byte by byte.

#include "base/account.h"

#include <cstddef>
#include <string>
#include <string_view>

/// What a reader takes of a profile file; the rest of a longer one does not count.
constexpr size_t kProfileFileBytes = 1000;

/// Encodes `length` bytes as base64 (RFC 4648 4, padded, without line breaks) into `destination` of `width` bytes,
/// whose first 64 bytes are cleared before; what does not fit is left out by whole groups of four. Terminated.
/// Returns the characters of whole groups: a final group that needed padding is written, not counted.
int EncodeFieldBase64(char *destination, size_t width, char const *source, int length);

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

/// Writes `directory`<name>.dat (mode 0600): beside it first, as ".<name>.dat.new", brought to disk and renamed over
/// the old one, so that a full disk or a crash leaves the old or the new. `directory` ends in a slash. Returns false
/// and leaves the old file when any of it fails.
bool WriteMailProfile(std::string const &directory, MailProfile const &profile);

/// True when a mail profile may have this name: a plain name that is not hidden (the scan skips those, and ".tmp" is
/// the scratch directory) and not "news", whose directory holds the news profiles.
bool IsMailProfileName(std::string_view name);
