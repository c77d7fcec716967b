#pragma once
// Handing an attached file to the desktop.

#include "mime/part_headers.h"

/// Writes the decoded part into TempDir under a new name that ends in its file name, and starts the desktop's opener
/// on it without waiting. False when either fails.
bool OpenPart(PartHeaders const &part);
