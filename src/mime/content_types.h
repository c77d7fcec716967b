#pragma once
// The MIME type that a file's name stands for.

#include <cstddef>
#include <span>
#include <string_view>

/// One row of the table: a type, and the ends of names that stand for it, in any case and not bound to a dot. Unused
/// ends are empty.
struct ExtensionType {
    std::string_view ends[3];
    char const *type;
};

/// The table, searched from the first row on.
extern std::span<ExtensionType const> const ExtensionTypeTable;

/// Copies the type of the file `name` into `type` of `width` bytes (cut to width - 1), "unknown" when no row matches.
/// Returns 1 on a match, else 0.
int ContentTypeForFileName(char *type, size_t width, char const *name);

/// Appends a dot and the first end of the row that the image `name` matches (".jpg" for every spelling of it) to
/// `path` of `width` bytes, cut to width - 1. A name that matches no row leaves the path unchanged. Returns 1 on a
/// match, else 0.
int AppendImageExtension(char const *name, char *path, size_t width);
