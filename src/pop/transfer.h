#pragma once
// Receiving a reply of several lines (RFC 1939 3): lines that begin with a dot have it doubled, a line with a dot
// alone ends it. News articles come the same way (RFC 3977 3.1.1).

#include <chrono>
#include <cstddef>
#include <cstdlib>
#include <memory>
#include <string_view>

constexpr int kPieceSize = 10240;

/// Tells a slow peer from one that drips: a byte before each silence is over would hold a reader for ever.
class Pace {
  public:
    using Clock = std::chrono::steady_clock;
    static constexpr size_t kBytes = 65536; ///< that must come within kTime, again and again
    static constexpr std::chrono::minutes kTime{10};

    explicit Pace(Clock::time_point start = Clock::now()) : since_(start) {}

    /// Whether it is still worth reading on when `received` bytes are there in all.
    bool Holds(size_t received, Clock::time_point now = Clock::now());

  private:
    Clock::time_point since_;
    size_t before_ = 0;
};

/// What has arrived, in one block from malloc that grows with it, whatever size a server has promised.
class Transfer {
  public:
    explicit Transfer(int socket) : socket_(socket) {}

    /// Begins with bytes that have come already. False when memory is out.
    bool Start(std::string_view come);

    /// Appends what arrives within `seconds`, at most `most` bytes. Returns their number, 0 at the end of the
    /// connection, -1 on an error, on silence (errno ETIMEDOUT), when the peer drips and when memory is out.
    int Read(size_t most, int seconds);

    std::string_view Bytes() const { return {block_.get(), used_}; }
    size_t Size() const { return used_; }

    char *Data() { return block_.get(); }

    /// Gives the first `length` bytes, with zero bytes behind them, to the caller, who frees them.
    char *Release(size_t length);

  private:
    bool MakeRoom(size_t most);

    int socket_;
    std::unique_ptr<char, void (*)(void *)> block_{nullptr, free};
    size_t used_ = 0, room_ = 0;
    Pace pace_;
};

/// The lines of `text` that begin with a doubled dot.
size_t CountDoubledDots(std::string_view text);

/// Undoes the doubled dots at the begins of lines, in place. Returns the new length.
size_t UndoDots(char *text, size_t length);

/// True when `bytes`, which begin at a line's begin, end in the line of a dot alone.
bool EndsInMark(std::string_view bytes);

/// Where the text before the first end mark ends that leaves a text of at least `from` bytes (less a line end);
/// npos when there is none.
size_t FindTextEnd(std::string_view bytes, size_t from);
