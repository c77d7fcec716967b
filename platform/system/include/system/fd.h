#pragma once
// Descriptors that close themselves, and writes that go out whole.

#include <string_view>
#include <utility>

/// Owns one file descriptor (-1 when none) and closes it at the end of its life.
class Fd {
  public:
    Fd() = default;
    explicit Fd(int descriptor) : descriptor_(descriptor) {}
    Fd(Fd &&other) noexcept : descriptor_(std::exchange(other.descriptor_, -1)) {}
    Fd &operator=(Fd &&other) noexcept {
        Reset(std::exchange(other.descriptor_, -1));
        return *this;
    }
    Fd(Fd const &) = delete;
    Fd &operator=(Fd const &) = delete;
    ~Fd() { Reset(); }

    int Get() const { return descriptor_; }
    bool Valid() const { return descriptor_ >= 0; }
    /// Gives the descriptor to the caller, who closes it.
    int Release() { return std::exchange(descriptor_, -1); }
    /// Closes what it holds and takes `descriptor`. Returns false when the close failed.
    bool Reset(int descriptor = -1);

  private:
    int descriptor_ = -1;
};

/// Writes all of `bytes`, through interruptions and short writes. Returns false at the first error
/// (errno tells which); some of the bytes may have been written then.
bool WriteAll(int descriptor, std::string_view bytes);
