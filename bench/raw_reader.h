#pragma once
// A POP3 dialogue that does nothing but move bytes: one command at a time, no parsing, no windows.

#include <string>
#include <vector>

/// What the raw reader does with each message.
enum class RawDialogue {
    Count,   ///< STAT only
    Headers, ///< TOP n 0
    Fetch,   ///< RETR, the text is dropped
    Remove   ///< RETR, a file of its own for each, DELE, and QUIT at the end
};

/// Carries the dialogue out on 127.0.0.1 as alice. Files go into `directory`. Returns the number of messages, -1 when
/// anything failed. `room` is where the largest message goes, made before the clock starts.
int ReadRaw(int port, RawDialogue dialogue, std::string const &directory, std::vector<char> &room);
