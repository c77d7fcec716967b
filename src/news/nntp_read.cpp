#include "news/nntp_read.h"

#include "net/line_io.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <poll.h>

namespace {

using Clock = std::chrono::steady_clock;

constexpr int kBlockSize = 65536;
constexpr int kSliceMilliseconds = 100;
constexpr size_t kLongestLine = 16 << 20;
/// A server that hands out a byte now and then is never silent: after so long it must have sent this much a second.
constexpr auto kSlowPatience = std::chrono::seconds(10 * kSilenceSeconds);
constexpr long kSlowestBytes = 100;

} // namespace

NntpReader::NntpReader(int socket, std::function<bool()> stopped) : socket_(socket), stopped_(std::move(stopped)) {}

/// Takes what the system holds for this connection, without waiting.
NntpReader::Arrived NntpReader::TakeArrived() {
    if (socket_ < 1)
        return Arrived::kEnd;
    buffer_.erase(0, taken_);
    taken_ = 0;
    size_t const held = buffer_.size();
    buffer_.resize(held + kBlockSize);
    int const got = ReadServerBytes(socket_, buffer_.data() + held, kBlockSize, 0);
    int const error = errno;
    size_t const fresh = got > 0 ? static_cast<size_t>(got) : 0;
    buffer_.resize(held + fresh);
    received_ += fresh;
    if (fresh > 0)
        return Arrived::kBytes;
    return got < 0 && error == EAGAIN ? Arrived::kNothingYet : Arrived::kEnd;
}

void NntpReader::WaitShortly() {
    if (beforeWait)
        beforeWait();
    auto const begin = Clock::now();
    pollfd wanted{socket_, POLLIN, 0};
    poll(&wanted, 1, kSliceMilliseconds);
    waited_ += Clock::now() - begin;
    if (afterWait)
        afterWait();
}

bool NntpReader::TooSlow() const {
    if (waited_ < kSlowPatience)
        return false;
    auto const seconds = std::chrono::duration_cast<std::chrono::seconds>(waited_).count();
    return received_ < static_cast<size_t>(seconds * kSlowestBytes);
}

/// Adds at least a byte to the buffer. False when none will come.
bool NntpReader::Fill() {
    auto const silent = waited_ + std::chrono::seconds(kSilenceSeconds);
    while (!Stopped() && !TooSlow()) {
        Arrived const arrived = TakeArrived();
        if (arrived != Arrived::kNothingYet)
            return arrived == Arrived::kBytes;
        if (waited_ >= silent)
            return false;
        WaitShortly();
    }
    return false;
}

bool NntpReader::HasLine() const {
    return HasMore() && memchr(buffer_.data() + taken_, '\n', buffer_.size() - taken_);
}

bool NntpReader::ReadLine(std::string_view &line, size_t most) {
    size_t searched = 0, dropped = 0;
    for (;;) {
        std::string_view const held = std::string_view(buffer_).substr(taken_);
        size_t const end = held.find('\n', searched);
        if (end != std::string_view::npos) {
            line = held.substr(0, end);
            if (dropped == 0 && line.ends_with('\r'))
                line.remove_suffix(1);
            line = line.substr(0, most);
            taken_ += end + 1;
            return true;
        }
        // Of a long line only its begin stays here; one byte more tells that it was long.
        if (held.size() > most + 1) {
            dropped += held.size() - (most + 1);
            buffer_.resize(taken_ + most + 1);
        }
        searched = buffer_.size() - taken_;
        if (dropped > kLongestLine || !Fill())
            return false;
    }
}

std::string_view NntpReader::ReadSome(size_t most) {
    size_t const held = buffer_.size() - taken_;
    if (held == 0 && !Fill())
        return {};
    // The end of a block is no end of what has arrived.
    if (held > 0 && held < most)
        TakeArrived();
    std::string_view const some = std::string_view(buffer_).substr(taken_, most);
    taken_ += some.size();
    return some;
}
