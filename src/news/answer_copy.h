#pragma once
// Copying the many-line answers of a news server (RFC 3977 3.1.1) into files, in few and large writes. Private to
// this folder; no toolkit.

#include "news/nntp_read.h"

#include <cstddef>
#include <string_view>

/// A larger answer is not taken: it has no end, or is none for a person.
constexpr size_t kLargestAnswer = size_t{512} << 20;

enum class AnswerEnd {
    kMark,     ///< the answer's end mark has come
    kLost,     ///< the connection ended, failed or fell silent before, or the reader was stopped
    kTooLarge, ///< more than kLargestAnswer
    kNotStored ///< the file took no more
};

/// What to say about an end other than the mark.
char const *ReasonOf(AnswerEnd end);

/// Copies an answer's body, which begins behind the status line, into `file` as it comes: dots doubled, end mark
/// "\r\n.\r\n" included. It is taken in pieces of at most `piece` bytes; the piece that ends the mark is the last one
/// and is copied whole, whatever follows the mark in it. Of all that, the last `cut` bytes are left out when the mark
/// has come.
AnswerEnd CopyBody(NntpReader &reader, int file, size_t piece, size_t cut);

/// Copies the numbers of an answer, one a line, into `file`: 4 bytes each, little-endian, in the answer's order, up
/// to the line ".". What does not fit 32 bits becomes the nearest that does, a line without a number 0. Without a
/// file (-1), or when it takes no more, the answer is read all the same.
AnswerEnd CopyNumbers(NntpReader &reader, int file);
