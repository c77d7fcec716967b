#pragma once
// A waiting message in its file: who it goes to, and its bytes as they go out. Private to this folder.

#include "compose/send/standard/addresses.h"

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

/// What a waiting message says of its delivery.
struct Envelope {
    std::vector<std::string> recipients; ///< the addresses of To, Cc and Bcc, each once
    bool has8bit = false;                ///< anywhere in the message
    int64_t size = 0;                    ///< bytes of the file
};

/// Reads the envelope from an open file, one pass over it in blocks. False, with errno telling why, when it cannot be
/// read.
bool ReadEnvelope(int file, Envelope &envelope);

/// Gives out the message as it goes over the wire: without the Bcc field and, unless `allow8bit`, with its text as
/// quoted-printable. Dots are not doubled. Stops when `put` returns false. False for that, and when the file cannot
/// be read.
bool PutMessage(int file, bool allow8bit, std::function<bool(std::string_view)> const &put);
