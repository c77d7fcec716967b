#pragma once
// The walk over the parts of a multipart text whose length is known (RFC 2046 5.1).

#include "mime/headers.h"

#include <string_view>

/// Where a part lies, as offsets from its begin.
struct PartPlace {
    size_t body;   ///< behind the header block
    size_t next;   ///< the next boundary behind `body`; npos when there is none
    size_t resume; ///< where a reader that wants the next boundary goes on
};

/// Parses the header block at the begin of `text`, just behind the boundary's line, as ParsePartHeaders does.
/// `text` reaches to the end of the message and `boundary` must not be empty. The body's length is 0 when no
/// boundary follows, and never leads out of `text`.
PartPlace ParsePart(std::string_view text, std::string_view boundary, PartHeaders &part);

/// The offset of `sought` in `text` from the offset `from` on; npos when there is none.
size_t FindText(std::string_view text, std::string_view sought, size_t from);
