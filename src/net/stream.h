#pragma once
// One connection to a server, read and written through buffers. Every wait ends: when the peer is silent, when it
// drips bytes without ever completing a line, when the user stops the operation. POP3 (RFC 1939), SMTP (RFC 5321) and
// NNTP (RFC 3977) all talk through this. Works on any thread, one at a time; no toolkit.

#include "net/channel.h"

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

/// Asked at least every 0.1 s during a wait; true ends the wait. May be empty.
using StopPredicate = std::function<bool()>;

struct StreamLimits {
    std::chrono::seconds silence{60};   ///< without any byte
    std::chrono::seconds dripping{120}; ///< of waiting without a whole line and without 64 KiB
    size_t longestLine = 16 << 20;      ///< bytes; a longer line is the connection's end
};

enum class StreamState {
    kOpen,
    kClosed,   ///< the peer has ended the connection
    kFailed,   ///< the connection failed
    kSilent,   ///< limits.silence is over
    kDripping, ///< limits.dripping is over, or the peer sent under 100 bytes a second for ten minutes
    kTooLong,  ///< a line had no end
    kStopped   ///< the stop predicate said so
};

class Stream {
  public:
    explicit Stream(std::unique_ptr<Channel> channel, StreamLimits limits = {});

    /// Who may stop the waits from now on; empty for none. An operation sets it at its start and clears it at its
    /// end.
    void StopWhen(StopPredicate stopped) { stopped_ = std::move(stopped); }
    bool Stopped() const { return stopped_ && stopped_(); }

    /// A shorter silence for replies that matter little (seconds; the dripping limit follows). 0 sets the usual one.
    void BearSilence(std::chrono::seconds silence);

    /// Starts the count of waiting again. To be called when a command goes out (WriteLine does it).
    void StartWaiting();

    /// The next line without its LF and the CR before it, cut at `most` bytes; what is longer is read and dropped.
    /// False at any state but kOpen. The text stays valid until the next call.
    bool ReadLine(std::string_view &line, size_t most);

    /// The next reply as the classic dialogues read it: it ends with a byte whose signed value is 10 or less, and its
    /// text ends before the first byte up to 20. Returns the bytes consumed with the end; 0 at the end of the
    /// connection and -1 in every other state but kOpen, with what has arrived in `text`. Valid until the next call.
    int ReadClassicLine(std::string_view &text, size_t most);

    /// What has arrived and was not taken, at most `most` bytes; waits when there is nothing. Empty as ReadLine is
    /// false. Valid until the next call.
    std::string_view ReadSome(size_t most);

    /// The same without waiting: empty also when nothing has arrived.
    std::string_view ReadArrived(size_t most);

    /// Waits until `least` bytes or more are held, or fewer and no more will come, and shows all that is held without
    /// taking it. Valid until the next call.
    std::string_view Peek(size_t least);

    /// Takes the first `count` held bytes.
    void Take(size_t count);

    /// Drops what is held and what has arrived, without waiting: nothing of it is an answer to what is asked next. A
    /// peer that sends limits.longestLine of it is given up (kTooLong).
    void DropArrived();

    /// Puts bytes in front of what is held: the next read sees them first.
    void PutBack(std::string_view bytes);

    /// True when the next ReadLine need not wait for the network.
    bool HasLine() const;

    /// Takes over what has arrived, without waiting. True when the next ReadLine need not wait for the network.
    bool LineArrived();

    /// True when the connection is as the last reply has left it: open, and nothing has come since. A server that
    /// ends an idle connection often says so before. Does not wait.
    bool Idle();

    /// True when bytes were read that nothing has taken.
    bool HasMore() const { return taken_ < buffer_.size(); }

    /// Bytes read since the stream was made.
    size_t Received() const { return received_; }

    /// Sends all of `bytes`. False when the connection failed, took nothing for limits.silence, or was stopped.
    bool Write(std::string_view bytes);

    /// Sends `text` up to its first CR or LF, and CR LF, in one system call. Returns the bytes sent, -1 on failure.
    int WriteLine(std::string_view text);

    /// Why the stream is of no more use. A silence does not end a stream: the next read waits again.
    StreamState State() const { return state_; }

    int Descriptor() const { return channel_->Descriptor(); }

    /// Puts another channel in the place of the one that is there (STLS, STARTTLS) and drops all bytes that were read
    /// before (RFC 3207 4.2).
    void Replace(std::unique_ptr<Channel> channel);
    std::unique_ptr<Channel> &GetChannel() { return channel_; }
    Channel const &GetChannel() const { return *channel_; }

    /// Calls `step` until it is kMoved, waiting as it says, within the limits: a handshake of the channel. False at
    /// any state but kOpen.
    bool Run(std::function<ChannelState()> const &step);

  private:
    using Clock = std::chrono::steady_clock;

    ChannelState TakeArrived();
    bool Fill();
    bool WaitFor(short events);
    bool TooSlow() const;
    bool End(StreamState state);

    std::unique_ptr<Channel> channel_;
    StreamLimits usual_, limits_;
    StopPredicate stopped_;
    StreamState state_ = StreamState::kOpen;
    std::string buffer_;
    size_t taken_ = 0;
    size_t received_ = 0;
    // Time spent in waits, and bytes, since the operation started and since its last progress.
    Clock::duration waited_{}, waitedWithoutLine_{}, silent_{};
    size_t receivedBefore_ = 0, receivedAtLine_ = 0;
};

/// Lets `stopped` end a stream's waits, from construction to the end of its life.
class StopScope {
  public:
    StopScope(Stream &stream, StopPredicate stopped) : stream_(stream) { stream_.StopWhen(std::move(stopped)); }
    ~StopScope() { stream_.StopWhen({}); }
    StopScope(StopScope const &) = delete;
    StopScope &operator=(StopScope const &) = delete;

  private:
    Stream &stream_;
};
