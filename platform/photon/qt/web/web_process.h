#pragma once
// The page server as a child process.

#include "vserver/protocol.h"

#include <chrono>
#include <string>
#include <sys/types.h>
#include <vector>

class WebProcess {
  public:
    using Clock = std::chrono::steady_clock;

    WebProcess() = default;
    ~WebProcess() { Stop(); }
    WebProcess(WebProcess const &) = delete;
    WebProcess &operator=(WebProcess const &) = delete;

    /// Starts `command` (words parted by blanks) followed by "-r" and each of `roots`, and waits up to 5 s for its
    /// hello. A command without "/" is looked for in the program's own directory of helpers first, then in PATH.
    /// "/usr/photon/bin/vserver" is that file and, when it cannot be started, the one among the helpers. The child
    /// gets its end of the connection as descriptor 3, standard error, and nothing else of ours. Returns 0 or an
    /// errno: ENOENT, EACCES... when it cannot be started, ETIMEDOUT without hello, ECONNRESET when it ended before,
    /// EPROTO when it said something else.
    int Start(std::string const &command, std::vector<std::string> const &roots);

    /// Ends the process: asks it to quit, and kills it when it does not within 200 ms. Harmless when none runs.
    void Stop();

    bool Running() const { return socket_.Valid(); }
    /// Whether the server, by its hello, shows no image: it has no sandbox to decode one in.
    bool NamesImages() const { return names_images_; }
    /// Readable when a message has come. -1 when not running.
    int Socket() const { return socket_.Get(); }
    pid_t Pid() const { return pid_; }

    /// Asks for a page. Returns 0 or an errno: EINVAL for an address that no server takes, EAGAIN when the server has
    /// not read what it was asked before.
    int Load(uint32_t id, std::string const &url);
    /// Takes the next message without waiting; ends the process when it breaks the rules or has ended.
    vserver::Received Receive(vserver::Packet &packet);
    /// Waits until there is something to receive. False when `deadline` has passed.
    bool Wait(Clock::time_point deadline) const;

  private:
    int AwaitHello();

    Fd socket_;
    pid_t pid_ = -1;
    bool names_images_ = false;
};

/// The directories of helper programs: of the installation that the running program belongs to, then of the build
/// tree when it runs from there.
std::vector<std::string> HelperDirectories();
