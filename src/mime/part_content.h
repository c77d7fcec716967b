#pragma once
// The content of a part: copied, saved, decoded on its way out.

#include "mime/part_headers.h"

#include <cstddef>
#include <string_view>

class BlockWriter;

/// A copy of `part` with a body of its own (terminated), from malloc, to be freed with FreePart. Null when out of
/// memory.
PartHeaders *CopyPart(PartHeaders const &part);
/// Frees a part and its body, both from malloc. Null is allowed.
void FreePart(PartHeaders *part);

/// Writes a part to `descriptor` as "Save Attachment" does: without an encoding the bytes as they are, with any
/// encoding decoded as base64 line by line. Returns false, with errno telling why, when a write failed; some of it
/// may be written then.
bool WritePartContent(int descriptor, PartHeaders const &part);

/// How an inline image's lines differ from a saved attachment's.
enum class PartLines { kSaved, kImage };

/// Decodes base64 lines from the front of `text` into `out`, until `bodyLength` bytes are passed; lines are taken in
/// pieces of 79 bytes, each decoded on its own. An image's line loses a control byte at its start, too, may reach
/// out of the body, and ends the image when it is the boundary.
void PutDecodedLines(BlockWriter &out, std::string_view text, size_t bodyLength, PartLines kind,
                     std::string_view boundary);
