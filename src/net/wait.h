#pragma once
// Bounded waiting on a socket without a stream. Private to this folder.

#include "net/library_pause.h"
#include "net/line_io.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <poll.h>

using Clock = std::chrono::steady_clock;

/// A peer that never ends its line is given up: after so many bytes, or after LongestWait.
constexpr size_t kLongestLine = 16 << 20;

/// How long a line may take to come when `seconds` of silence are borne within it. A shorter silence than usual means
/// a reply that does not matter much: that time is for the whole of it.
inline std::chrono::seconds LongestWait(int seconds) {
    return std::chrono::seconds(seconds < kSilenceSeconds ? seconds : 10 * seconds);
}

/// Waits for `events` on a descriptor until `deadline`. True when it is ready (an error or the end of the connection
/// counts, the next call on the descriptor tells); false with errno ETIMEDOUT when the time is over.
inline bool WaitFor(int descriptor, short events, Clock::time_point deadline) {
    constexpr long kSlice = 50;
    for (;;) {
        auto const left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now()).count();
        LibraryPause const pause;
        pollfd wanted{descriptor, events, 0};
        int const ready = poll(&wanted, 1, static_cast<int>(std::clamp<long>(left, 0, kSlice)));
        if (ready > 0)
            return true;
        if (ready == 0 && left <= 0)
            errno = ETIMEDOUT;
        if ((ready == 0 && left <= 0) || (ready < 0 && errno != EINTR))
            return false;
    }
}
