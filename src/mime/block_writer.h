#pragma once
// Output in large pieces: one block that grows with what is written and goes out when it is full.

#include <cstddef>
#include <memory>
#include <string_view>

/// Collects bytes for one descriptor, which stays the caller's. After the first failed write the rest is dropped and
/// Flush tells. What was not flushed is lost at the end of its life.
class BlockWriter {
  public:
    explicit BlockWriter(int descriptor) : descriptor_(descriptor) {}

    void Put(std::string_view bytes);
    /// A place for `size` bytes (at most kMostRoom); Used tells how many were filled.
    char *Room(size_t size);
    void Used(size_t size) { used_ += size; }
    /// How much more fits after the last Room without another call of it.
    size_t Free() const { return capacity_ - used_; }
    /// Writes what is left. Returns false when this or an earlier write failed.
    bool Flush();

    static constexpr size_t kMostRoom = 4096;

  private:
    void Grow(size_t needed);

    int descriptor_;
    bool failed_ = false;
    std::unique_ptr<char[]> block_;
    size_t capacity_ = 0;
    size_t used_ = 0;
};
