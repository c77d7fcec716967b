#pragma once
// Attachments that take a while to be made: files that are read, parts that are encoded.

#include "compose/compose_state.h"
#include "mime/part_headers.h"

#include <functional>
#include <string>
#include <vector>

/// A part to be made on a thread; `make` returns it for FreePart to free, or null when it cannot be had whole.
struct PartToMake {
    std::string name; ///< its row's text
    std::function<PartHeaders *()> make;
};

/// Makes the parts one after another on a thread of their own and appends each to the list. Meanwhile the window
/// can be used, only Send and Attach are blocked: a message must not be sent without what is still being read. Parts
/// that could not be had are named in an alert. Under the library lock.
void AddPartsInBackground(ComposeState &state, std::vector<PartToMake> parts);
