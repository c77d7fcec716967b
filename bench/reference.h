#pragma once
// What the figures are compared with, measured in the same run.

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstring>
#include <ctime>
#include <limits>
#include <memory>
#include <string_view>

/// Processor time of this thread in seconds: a busy machine changes it less than the clock on the wall.
inline double ProcessorSeconds() {
    timespec time{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

/// The best of several runs of `work`, in processor seconds.
template <class Work> double BestSeconds(Work work) {
    double best = std::numeric_limits<double>::max();
    for (int run = 0; run < 15; run++) {
        double const start = ProcessorSeconds();
        work();
        best = std::min(best, ProcessorSeconds() - start);
    }
    return best;
}

/// The time of a memcpy of as many bytes.
inline double MemcpySeconds(std::string_view bytes) {
    auto const copy = std::make_unique<char[]>(bytes.size());
    return BestSeconds([&] {
        memcpy(copy.get(), bytes.data(), bytes.size());
        benchmark::DoNotOptimize(copy.get());
        benchmark::ClobberMemory();
    });
}

/// Reports bytes per second and how many times the reference's time one iteration took.
class Compared {
  public:
    Compared(benchmark::State &state, double reference, size_t bytes)
        : state_(state), reference_(reference), bytes_(bytes), start_(ProcessorSeconds()) {}
    ~Compared() {
        double const seconds = ProcessorSeconds() - start_;
        auto const runs = static_cast<double>(state_.iterations());
        state_.SetBytesProcessed(static_cast<int64_t>(runs * static_cast<double>(bytes_)));
        state_.counters["times_limit"] = seconds / runs / reference_;
    }

  private:
    benchmark::State &state_;
    double reference_;
    size_t bytes_;
    double start_;
};
