#pragma once
// The list row of a stored message, made from the start of its file.

#include "store/folder.h"

#include <string_view>

/// Formats the row of a stored message into the kRowWidth bytes of `row`, from the message's first 4999 bytes: padded
/// with zeros, and without a terminator when it fills them. Returns `row`, or a constant empty string, with `row`
/// unchanged, when the message cannot be read or a name is none.
char const *ReadMessageRow(char const *profile, char const *folder, int32_t number, char *row);

/// The record of a stored message; its row is empty when the file cannot be read or is no regular file. Returns
/// false, with `record` unchanged, when there is no such file.
bool RecordOfMessage(std::string_view path, int32_t number, IndexRecord &record);
