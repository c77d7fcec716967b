#pragma once
// Memory files that are sealed before another process reads them.

#include "system/fd.h"

#include <cstddef>
#include <string>
#include <string_view>

/// Makes an empty memory file that can be sealed. Not Valid() on failure.
Fd MakeMemory(char const *name);
/// Freezes size and content. False when that fails, as while someone has it mapped for writing.
bool Seal(int descriptor);

/// The bytes of a sealed memory file, mapped read-only for the life of this object.
class SealedBytes {
  public:
    /// Maps `descriptor` when all four seals are set and its size is exactly `size`; otherwise Valid() is false.
    SealedBytes(int descriptor, size_t size);
    ~SealedBytes();
    SealedBytes(SealedBytes const &) = delete;
    SealedBytes &operator=(SealedBytes const &) = delete;

    bool Valid() const { return valid_; }
    std::string_view Bytes() const { return {static_cast<char const *>(address_), size_}; }

  private:
    void *address_ = nullptr;
    size_t size_ = 0;
    bool valid_ = false;
};

/// Reads up to `limit` bytes of a file from its start. False on an error or when there is more.
bool ReadFile(int descriptor, size_t limit, std::string &bytes);
