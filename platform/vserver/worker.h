#pragma once
// Workers: forked for one page or one image, since their author may take over the process that reads them. A worker
// has three descriptors, the file it reads and two memory files it writes, and no way to reach anything else.

#include "vserver/protocol.h"

#include <chrono>
#include <sys/types.h>

namespace vserver {

/// The work: reads `kWorkerInput`, writes `kWorkerOutput` and `kWorkerInfo`. Returns whether it succeeded.
using Job = bool (*)();
constexpr int kWorkerInput = 3, kWorkerOutput = 4, kWorkerInfo = 5;
constexpr std::chrono::seconds kWorkerTime{5};

/// A running worker. Destroying it kills the process and waits for its end, which does not take long.
class Worker {
  public:
    /// Forks. The calling process must have one thread. `input` is borrowed for the call. On failure the worker is
    /// not Running().
    Worker(Job job, Fd const &input, uint32_t number);
    ~Worker();
    Worker(Worker const &) = delete;
    Worker &operator=(Worker const &) = delete;

    bool Running() const { return process_.Valid(); }
    uint32_t Number() const { return number_; }    ///< the caller's
    int Process() const { return process_.Get(); } ///< readable when the worker has ended
    std::chrono::steady_clock::time_point Deadline() const { return deadline_; }
    Fd const &Output() const { return output_; }

    /// Kills it if it still runs and waits. True when the job had succeeded by itself; then `info` holds what it
    /// wrote there, at most `limit` bytes, and the output is sealed and `size` bytes long.
    bool Finish(size_t limit, std::string &info, size_t &size);

  private:
    Fd process_, output_, info_;
    uint32_t number_;
    std::chrono::steady_clock::time_point deadline_;
};

} // namespace vserver
