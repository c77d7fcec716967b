#pragma once
// Attachments on their way into an outgoing message.

#include "mime/part_headers.h"

#include <cstddef>
#include <functional>

/// Reads `size` bytes with `read` (which fills a buffer of the length given, and tells whether it could) and encodes
/// them as Base64Encode does, in slices, so that the text is never there twice. Returns the terminated lines, from
/// malloc, and their length in `length`. Null when reading failed or the memory is not there.
char *EncodeInSlices(size_t size, std::function<bool(char *, size_t)> const &read, int32_t &length);

/// From now on an encoded body whose length is no multiple of 3 ends as others read it (RFC 2045 6.8). Once, at the
/// start.
void EndBodiesWhole();

/// A copy of a received part as it can be sent on, to be freed with FreePart: its body is base64 (RFC 2045 6.8)
/// whatever it was before, and holds nothing that could end the message it is sent in. Null when out of memory.
PartHeaders *ForwardedPart(PartHeaders const &part);

/// The largest file or part that is taken, 1 GiB: its encoded length still fits a part's bodyLength.
constexpr size_t kLargestAttachment = size_t{1} << 30;
