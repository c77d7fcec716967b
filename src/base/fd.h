#pragma once
// Files that are read and written whole; Fd and WriteAll.

#include "system/fd.h"

#include <cstddef>
#include <optional>
#include <string>

/// Reads up to `size` bytes until the end of the file. Returns the number read, -1 on an error.
long ReadAll(int descriptor, char *buffer, size_t size);

/// The whole of a regular file of at most `limit` bytes. Nothing, with errno telling why, when it cannot be opened or
/// read, is no regular file (EINVAL; a FIFO's writer is not waited for) or too large (EFBIG). `flags` are further
/// ones for open.
std::optional<std::string> ReadRegularFile(std::string const &path, size_t limit, int flags = 0);

/// Makes `path` a new file (mode 0600) of these bytes and brings them to disk; what had the name goes first. Returns
/// false, with errno telling why, when that fails; a file that is not whole may be left.
bool WriteNewFile(std::string const &path, std::string_view bytes);

/// Makes `bytes` the contents of `path` (mode 0600): written beside it first, as the new file `beside` of the same
/// directory, brought to disk and renamed over it, so that a full disk or a crash leaves the old or the new. Returns
/// false, with errno telling why, and leaves the old file when any of it fails.
bool ReplaceFile(std::string const &path, std::string const &beside, std::string_view bytes);
