#pragma once
// The headers of a MIME part, and the walk over the parts of a multipart text whose length is known (RFC 2046 5.1).

#include <cstddef>
#include <cstdint>
#include <string_view>

/// One MIME body part. Every field is NUL-terminated, cut to its width minus one. `body` points into the message text
/// that was parsed.
struct PartHeaders {
    char name[1280];
    char contentType[200];
    char const *body;
    int32_t bodyLength; ///< up to the next boundary; 0 when none follows
    char encoding[100]; ///< Content-Transfer-Encoding as it stands, leading blank included
    char reserved[100]; ///< filled for files attached to an outgoing message only
    char fileName[1280];
};

/// Where a part lies, as offsets from its start.
struct PartPlace {
    size_t body;   ///< after the header block
    size_t next;   ///< the next boundary from `body` on; npos when there is none
    size_t resume; ///< where a reader that wants the next boundary goes on
};

/// Parses the header block at the start of `text`, just after the boundary's line. `text` reaches to the end of the
/// message; `boundary`, "--" and the parameter, must not be empty. The body's length is 0 when no boundary follows,
/// and never leads out of `text`. Nothing fails: what is missing is empty.
PartPlace ParsePart(std::string_view text, std::string_view boundary, PartHeaders &part);

/// The offset of `sought` in `text` from the offset `from` on; npos when there is none.
size_t FindText(std::string_view text, std::string_view sought, size_t from);
