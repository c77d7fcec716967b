#pragma once
// The MIME type that a file's name stands for.

#include <cstddef>

/// Copies the type of the file `name` into `type` of `width` bytes, "unknown" when no row of the table matches.
/// Returns 1 on a match, else 0.
int ContentTypeForFileName(char *type, size_t width, char const *name);

/// Appends the extension of the image `name` (".jpg" for every spelling of it) to `path` of `width` bytes. A name
/// that matches no row leaves the path unchanged. Returns 1 on a match, else 0.
int AppendImageExtension(char const *name, char *path, size_t width);
