#pragma once
// Reading from a news server in pieces, with an eye on whoever wants the reader to stop. Private to this folder.

#include <chrono>
#include <cstddef>
#include <functional>
#include <string>
#include <string_view>

/// Reads a server's lines and blocks through a buffer of its own. Bytes that were read and not taken stay in here:
/// one reader serves one whole answer, to its end mark.
class NntpReader {
  public:
    /// `stopped` is asked at every wait, at least every 0.1 s; may be empty.
    explicit NntpReader(int socket, std::function<bool()> stopped = {});

    /// The next line without its LF and the CR before it, cut at `most` bytes (what is longer is read and dropped).
    /// False at the end of the connection, on an error, after kSilenceSeconds of silence, and when stopped; also for
    /// a line that does not end within 16 MB, and once the server has sent next to nothing for ten minutes. The text
    /// stays valid until the next call.
    bool ReadLine(std::string_view &line, size_t most);

    /// What has arrived and was not taken, at most `most` bytes; waits when there is nothing. Empty as ReadLine is
    /// false. Valid until the next call.
    std::string_view ReadSome(size_t most);

    /// True when the next ReadLine or ReadSome need not wait for the network.
    bool HasLine() const;

    /// True when bytes were read that nobody has taken.
    bool HasMore() const { return taken_ < buffer_.size(); }

    /// Bytes read so far.
    size_t Received() const { return received_; }

    /// Called before each wait for the network and after it: a worker lets the library lock go meanwhile, the main
    /// thread paints.
    std::function<void()> beforeWait, afterWait;

    bool Stopped() const { return stopped_ && stopped_(); }

  private:
    enum class Arrived { kBytes, kNothingYet, kEnd };
    Arrived TakeArrived();
    void WaitShortly();
    bool TooSlow() const;
    bool Fill();

    int socket_;
    std::function<bool()> stopped_;
    std::string buffer_;
    size_t taken_ = 0;
    size_t received_ = 0;
    std::chrono::steady_clock::duration waited_{};
};
