#pragma once
// Whether an index lost its end, and what lies in its folder then.

#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

/// Whether the open index of the folder `path` was cut: in its header, in a record, or so that messages may lie in
/// the folder whose records are lost. An index with a number that nothing of ours wrote counts as cut, one that a
/// conversion just made as whole. False when it cannot be read.
bool IsCut(int descriptor, std::string_view path);

/// The numbers of the message files that lie in a folder, ascending. Nothing when the folder cannot be read.
std::optional<std::vector<int32_t>> StoredNumbers(std::string_view path);

/// Whether a message's file is there with more than its name.
bool HasText(std::string_view path, int32_t number);
