#pragma once
// What the record files of mail and news profiles share: a few lines of text, one for each field.

#include "base/account.h"
#include "base/text.h"

#include <cstddef>
#include <functional>
#include <initializer_list>
#include <string>
#include <string_view>

/// kept: what a reader takes of a profile file; the rest of a longer one does not count.
constexpr size_t kProfileFileBytes = 1000;

/// Encodes `length` bytes as base64 (RFC 4648 4, padded, without line breaks) into `destination` of `width` bytes,
/// whose first 64 bytes are cleared before; what does not fit is left out by whole groups of four. Terminated.
/// Returns the characters of whole groups: a final group that needed padding is written, not counted.
int EncodeFieldBase64(char *destination, size_t width, char const *source, int length);

/// The fields of `account`, each up to its first line break, as a line; the password among them is encoded.
std::string RecordText(ServerAccount const &account, std::initializer_list<char const *> fields);

/// Gives out the lines of a record's text (cut at kProfileFileBytes and at its first zero byte), one after another.
/// Empty lines are skipped. The text must stay while this lives.
class RecordLines {
  public:
    explicit RecordLines(std::string_view text);
    /// Copies the next line into the field, which stays as it is at the text's end.
    template <size_t Width> void Take(char (&field)[Width]) {
        if (std::string_view const line = Next(); !line.empty())
            CopyText(field, line);
    }
    /// Decodes the next line into the password field, which stays as it is at the text's end.
    template <size_t Width> void TakePassword(char (&field)[Width]) { TakePassword(field, Width); }

  private:
    void TakePassword(char *field, size_t width);
    std::string_view Next();
    std::string_view rest_;
};

/// Hands what the file `path` holds (at most kProfileFileBytes) to `take`. False when it cannot be opened.
bool ReadRecord(std::string const &path, std::function<void(std::string_view)> const &take);

/// Writes `text` as `directory`<name>.dat (mode 0600): beside it first, as ".<name>.dat.new", brought to disk and
/// renamed over the old one, so that a full disk or a crash leaves the old or the new. `directory` ends in a slash.
/// Returns false, logs why and leaves the old file when any of it fails.
bool WriteRecord(std::string const &directory, char const *name, std::string text);

/// True when a profile may have this name: a plain name that is not hidden, as the scan for profiles skips those.
bool IsProfileName(std::string_view name);
