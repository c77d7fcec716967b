#pragma once
// Base64 (RFC 2045 6.8) as this system reads and writes it.

#include <cstddef>
#include <cstdint>
#include <string_view>

constexpr char kBase64Alphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

/// Decodes the NUL-terminated `in`, which has no line breaks, in groups of four characters; up to three left over
/// are ignored. Any character outside the alphabet counts as 63. `out` must hold 3 * (length / 4) + 1 bytes and
/// is terminated; it may be `in`. Returns the number of bytes: one or two less for a "=" or "==" at the end of the
/// last group.
int32_t Base64Decode(char *out, char const *in);

/// Base64Decode of a text that need not be terminated. Same room, same result, of any size.
size_t DecodeBase64(char *out, std::string_view in);

/// Encodes `length` bytes into lines of 64 characters ended by LF. The final group of a length that is no multiple
/// of 3 is cut to its first character by a NUL: this system's format. `out` must be cleared by the caller and hold
/// length * 4 / 3 + (length / 45) * 2 + 80 bytes. Returns the characters written before the final group.
int32_t Base64Encode(char *out, char const *in, int32_t length);
