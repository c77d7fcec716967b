#pragma once
// Copying the many-line answers of a news server (RFC 3977 3.1.1) into files, in few and large writes.

#include "base/outcome.h"
#include "net/stream.h"

#include <cstddef>

/// A larger answer is not taken: it has no end, or is none for a user.
constexpr size_t kLargestAnswer = size_t{512} << 20;

/// Copies an answer's body, which starts after the status line, into `file` as it comes: dots doubled, end mark
/// "\r\n.\r\n" included. It is taken in pieces of at most `piece` bytes; the piece that ends the mark is the last one
/// and is copied whole, whatever follows the mark in it. Of all that, the last `cut` bytes are left out when the mark
/// has come. kDone: the mark has come. kLost, kStopped: it has not; what came is in the file. kFailed: more than
/// kLargestAnswer, or the file took no more.
Outcome CopyBody(Stream &stream, int file, size_t piece, size_t cut);

/// Copies the numbers of an answer, one a line, into `file`: 4 bytes each, little-endian, in the answer's order, up
/// to the line ".". What does not fit 32 bits becomes the nearest that does, a line without a number 0. Without a
/// file (-1), or when it takes no more, the answer is read all the same. Outcomes as CopyBody's; kFailed
/// also for lines that make a file far larger than the answer.
Outcome CopyNumbers(Stream &stream, int file);
