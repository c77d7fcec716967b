#pragma once
// Asking a command of the user's for a secret: a password manager, an OAuth helper.

#include "base/outcome.h"

#include <functional>
#include <string>

constexpr int kCommandSeconds = 60;

/// Runs `command` and puts the first line that it prints, without its line end, into `line` (at most 64 KiB). It gets
/// no shell unless it has characters that only a shell understands ('"\$`*?[]{}()<>|&;~#); words are parted at
/// blanks. Its standard input is empty, its standard error is the program's. It is killed, with all that it started,
/// after kCommandSeconds and when `stopped` says so. Outcomes: kDone; kStopped; kFailed with a sentence that names
/// the command and never its output.
Outcome FirstLineOfCommand(std::string const &command, std::string &line, std::function<bool()> const &stopped = {});
