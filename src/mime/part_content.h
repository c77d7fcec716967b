#pragma once
// The content of an encoded part, decoded on its way out.

#include <cstddef>
#include <string_view>

class BlockWriter;

/// How an inline image's lines differ from a saved attachment's.
enum class PartLines { kSaved, kImage };

/// Decodes base64 lines from the front of `text` into `out`, until `bodyLength` bytes are passed; lines are taken in
/// pieces of 79 bytes, each decoded on its own. An image's line loses a control byte at its begin too, may reach
/// beyond the body, and ends the image when it is the boundary.
void PutDecodedLines(BlockWriter &out, std::string_view text, size_t bodyLength, PartLines kind,
                     std::string_view boundary);
