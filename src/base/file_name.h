#pragma once
// Names of files that are proposed to the user and come from a message.

#include <string>
#include <string_view>

/// The last path component of `name` as a file may safely be called: without control characters and those that turn
/// the direction of writing (a name that reads "fdp.exe" backwards), without dots and blanks at its start, blanks at
/// its end and before its extension (which would push that out of sight), at most 200 bytes of whole characters, a
/// short extension kept. "attachment" when nothing is left.
std::string SafeFileName(std::string_view name);
