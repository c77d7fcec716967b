#pragma once
// The numbers of a group's articles, as selecting the group has stored them.

#include <cstdint>
#include <optional>
#include <string>

/// The number that ends a batch of `count` headers (1 or more) after article `cursor`: the count-th of the list
/// after it, for a count of 1 the second; at the list's end the last one there is. Nothing when the file at `path`
/// is missing or holds no number.
std::optional<int32_t> EndOfBatch(std::string const &path, int32_t cursor, int32_t count);
