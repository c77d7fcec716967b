#pragma once
// Descriptors that close themselves, and writes that go out whole.

#include <cstddef>
#include <optional>
#include <string>
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

/// Reads up to `size` bytes until the end of the file. Returns the number read, -1 on an error.
long ReadAll(int descriptor, char *buffer, size_t size);

/// The whole of a regular file of at most `limit` bytes. Nothing, with errno telling why, when it cannot be opened or
/// read, is no regular file (EINVAL; nobody waits for a FIFO's writer) or too large (EFBIG). `flags` are further ones
/// for open.
std::optional<std::string> ReadRegularFile(std::string const &path, size_t limit, int flags = 0);

/// Makes `bytes` the contents of `path` (mode 0600): written beside it first, as the new file `beside` of the same
/// directory, brought to disk and renamed over it, so that a full disk or a crash leaves the old or the new. Returns
/// false, with errno telling why, and leaves the old file when any of it fails.
bool ReplaceFile(std::string const &path, std::string const &beside, std::string_view bytes);
