#pragma once
// The index of earlier versions, "index": four bytes that are skipped, then 32-bit little-endian numbers.

#include <string_view>

struct IndexState;

/// Builds "index2" from the old index of a folder, which stays. Returns 0, also when there is an "index2" by then
/// (it is left alone), or -1 when there is no old index, the new one cannot be made or a name is none: then nothing
/// changes.
int ConvertFolderIndex(char const *profile, char const *folder);

/// ConvertFolderIndex for a folder's path.
int ConvertIndexAt(std::string_view path);

/// Whether a conversion gives an index of this state and nothing was appended since. Reads the old index.
bool IsFreshConversion(std::string_view path, IndexState const &state);
