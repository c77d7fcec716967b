#include "net/stream.h"

#include "base/text.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <poll.h>

namespace {

constexpr size_t kBlock = 65536;
constexpr auto kSlice = std::chrono::milliseconds(100);
constexpr size_t kProgress = 65536; ///< bytes that count as much as a whole line
/// A server that sends short lines now and then is never silent: after so long it must have sent this much a second.
constexpr auto kSlowPatience = std::chrono::minutes(10);
constexpr size_t kSlowestRate = 100;

bool EndsClassicLine(char byte) { return static_cast<signed char>(byte) <= 10; }
bool EndsClassicText(char byte) { return static_cast<signed char>(byte) <= 20; }

} // namespace

Stream::Stream(std::unique_ptr<Channel> channel, StreamLimits limits)
    : channel_(std::move(channel)), usual_(limits), limits_(limits) {}

void Stream::BearSilence(std::chrono::seconds silence) {
    limits_ = usual_;
    if (silence.count() > 0)
        limits_.silence = limits_.dripping = silence;
}

void Stream::StartWaiting() {
    waited_ = waitedWithoutLine_ = silent_ = {};
    receivedBefore_ = receivedAtLine_ = received_;
    // A reply that came too late belongs to an operation that was given up with its connection; stopping and silence
    // are said of one wait only.
    if (state_ == StreamState::kStopped || state_ == StreamState::kSilent)
        state_ = StreamState::kOpen;
}

bool Stream::End(StreamState state) {
    state_ = state;
    return false;
}

/// Takes what the system holds for this connection, without waiting.
ChannelState Stream::TakeArrived() {
    buffer_.erase(0, taken_);
    taken_ = 0;
    size_t const held = buffer_.size();
    size_t moved = 0;
    // Room in the buffer itself would be cleared for each read, which costs more than to copy what has come.
    thread_local char block[kBlock];
    ChannelState const state = channel_->Read(block, kBlock, moved);
    if (moved == 0)
        return state;
    buffer_.append(block, moved);
    received_ += moved;
    silent_ = {};
    if (memchr(buffer_.data() + held, '\n', moved) || received_ - receivedAtLine_ >= kProgress) {
        waitedWithoutLine_ = {};
        receivedAtLine_ = received_;
    }
    return state;
}

bool Stream::TooSlow() const {
    if (waitedWithoutLine_ >= limits_.dripping)
        return true;
    auto const seconds = std::chrono::duration_cast<std::chrono::seconds>(waited_).count();
    return waited_ >= kSlowPatience && received_ - receivedBefore_ < static_cast<size_t>(seconds) * kSlowestRate;
}

/// Waits a moment for the socket. False when there is nothing to wait for any more.
bool Stream::WaitFor(short events) {
    if (Stopped())
        return End(StreamState::kStopped);
    if (silent_ >= limits_.silence)
        return End(StreamState::kSilent);
    if (TooSlow())
        return End(StreamState::kDripping);
    auto const start = Clock::now();
    pollfd wanted{channel_->Descriptor(), events, 0};
    poll(&wanted, 1, static_cast<int>(kSlice.count()));
    auto const passed = Clock::now() - start;
    waited_ += passed;
    waitedWithoutLine_ += passed;
    silent_ += passed;
    return true;
}

/// Adds at least a byte to the buffer. False when none will come.
bool Stream::Fill() {
    if (state_ == StreamState::kSilent || state_ == StreamState::kStopped)
        StartWaiting();
    if (state_ != StreamState::kOpen)
        return false;
    silent_ = {};
    for (;;) {
        if (Stopped())
            return End(StreamState::kStopped);
        switch (TakeArrived()) {
        case ChannelState::kMoved:
            return !TooSlow() || End(StreamState::kDripping);
        case ChannelState::kEnd:
            return End(StreamState::kClosed);
        case ChannelState::kError:
            return End(StreamState::kFailed);
        case ChannelState::kWantWrite:
            if (!WaitFor(POLLOUT))
                return false;
            break;
        case ChannelState::kWantRead:
            if (!WaitFor(POLLIN))
                return false;
        }
    }
}

bool Stream::HasLine() const { return HasMore() && memchr(buffer_.data() + taken_, '\n', buffer_.size() - taken_); }

bool Stream::LineArrived() {
    if (!HasLine() && state_ == StreamState::kOpen)
        TakeArrived();
    return HasLine();
}

bool Stream::ReadLine(std::string_view &line, size_t most) {
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
        // Of a long line only its start stays here; one byte more tells that it was long.
        if (held.size() > most + 1) {
            dropped += held.size() - (most + 1);
            buffer_.resize(taken_ + most + 1);
        }
        searched = buffer_.size() - taken_;
        if (dropped > limits_.longestLine)
            return End(StreamState::kTooLong);
        if (!Fill())
            return false;
    }
}

int Stream::ReadClassicLine(std::string_view &text, size_t most) {
    size_t searched = 0, dropped = 0;
    for (;;) {
        std::string_view held = std::string_view(buffer_).substr(taken_);
        auto const end = std::find_if(held.begin() + static_cast<long>(searched), held.end(), EndsClassicLine);
        bool const whole = end != held.end();
        size_t const length = static_cast<size_t>(end - held.begin());
        text = held.substr(0, std::min(most, length));
        text = text.substr(
            0, static_cast<size_t>(std::find_if(text.begin(), text.end(), EndsClassicText) - text.begin()));
        if (whole) {
            taken_ += length + 1;
            return static_cast<int>(dropped + length + 1);
        }
        if (length > most + 1) {
            dropped += length - (most + 1);
            buffer_.resize(taken_ + most + 1);
        }
        searched = buffer_.size() - taken_;
        if (dropped > limits_.longestLine)
            End(StreamState::kTooLong);
        if (state_ == StreamState::kTooLong || !Fill()) {
            text = std::string_view(buffer_).substr(taken_, text.size());
            return state_ == StreamState::kClosed ? 0 : -1;
        }
    }
}

std::string_view Stream::ReadSome(size_t most) {
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

std::string_view Stream::ReadArrived(size_t most) {
    if (!HasMore() && state_ == StreamState::kOpen)
        TakeArrived();
    std::string_view const some = std::string_view(buffer_).substr(taken_, most);
    taken_ += some.size();
    return some;
}

bool Stream::Idle() {
    return (state_ == StreamState::kOpen || state_ == StreamState::kSilent) && !HasMore() &&
           TakeArrived() == ChannelState::kWantRead;
}

std::string_view Stream::Peek(size_t least) {
    while (buffer_.size() - taken_ < least && Fill()) {
    }
    return std::string_view(buffer_).substr(taken_);
}

void Stream::Take(size_t count) { taken_ += std::min(count, buffer_.size() - taken_); }

void Stream::DropArrived() {
    size_t const most = received_ + limits_.longestLine;
    do {
        buffer_.clear();
        taken_ = 0;
        if (received_ > most)
            End(StreamState::kTooLong);
    } while (state_ == StreamState::kOpen && TakeArrived() == ChannelState::kMoved && !Stopped());
    buffer_.clear();
}

bool Stream::Write(std::string_view bytes) {
    if (state_ != StreamState::kOpen && state_ != StreamState::kSilent)
        return false;
    silent_ = waitedWithoutLine_ = {};
    while (!bytes.empty()) {
        size_t moved = 0;
        if (Stopped())
            return End(StreamState::kStopped);
        ChannelState const state = channel_->Write(bytes.data(), bytes.size(), moved);
        bytes.remove_prefix(moved);
        if (state == ChannelState::kMoved)
            silent_ = waitedWithoutLine_ = {};
        else if (state == ChannelState::kEnd || state == ChannelState::kError)
            return End(state == ChannelState::kEnd ? StreamState::kClosed : StreamState::kFailed);
        else if (!WaitFor(state == ChannelState::kWantWrite ? POLLOUT : POLLIN))
            return false;
    }
    return true;
}

int Stream::WriteLine(std::string_view text) {
    std::string line(FirstLine(text));
    line += "\r\n";
    StartWaiting();
    bool const sent = Write(line);
    int const count = sent ? static_cast<int>(line.size()) : -1;
    explicit_bzero(line.data(), line.size()); // it may hold a password
    return count;
}

void Stream::PutBack(std::string_view bytes) {
    buffer_.replace(0, taken_, bytes);
    taken_ = 0;
}

bool Stream::Run(std::function<ChannelState()> const &step) {
    StartWaiting();
    while (state_ == StreamState::kOpen) {
        if (Stopped())
            return End(StreamState::kStopped);
        switch (step()) {
        case ChannelState::kMoved:
            return true;
        case ChannelState::kEnd:
            return End(StreamState::kClosed);
        case ChannelState::kError:
            return End(StreamState::kFailed);
        case ChannelState::kWantRead:
            WaitFor(POLLIN);
            break;
        case ChannelState::kWantWrite:
            WaitFor(POLLOUT);
        }
    }
    return false;
}

void Stream::Replace(std::unique_ptr<Channel> channel) {
    channel_ = std::move(channel);
    buffer_.clear();
    taken_ = 0;
}
