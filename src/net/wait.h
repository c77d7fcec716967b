#pragma once
// Bounded waiting. Private to this folder.

#include "net/server.h"
#include "widgets/toolkit.h"

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

/// How often a thread that holds the library paints the window while it waits.
constexpr auto kRepaint = std::chrono::milliseconds(50);

/// Calls `wait` with an end for it until it returns true. The library is left meanwhile, and what others change is
/// painted. The caller holds the library.
template <class Wait> void WaitOutsideLibrary(Wait const &wait) {
    for (bool over = false; !over;) {
        PtLeave(0);
        over = wait(Clock::now() + kRepaint);
        int const error = errno;
        PtEnter(0);
        PtFlush();
        errno = error;
    }
}

/// Waits for `events` on a descriptor until `deadline`. True when it is ready (an error or the end of the connection
/// counts, the next call on the descriptor tells); false with errno ETIMEDOUT when the time is over.
inline bool WaitFor(int descriptor, short events, Clock::time_point deadline) {
    for (;;) {
        auto const left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now()).count();
        pollfd wanted{descriptor, events, 0};
        int const ready = poll(&wanted, 1, left > 0 ? static_cast<int>(left) : 0);
        if (ready > 0)
            return true;
        if (ready == 0 && left <= 0)
            errno = ETIMEDOUT;
        if ((ready == 0 && left <= 0) || (ready < 0 && errno != EINTR))
            return false;
    }
}

/// WaitFor, outside the library for a thread that holds it.
inline bool WaitAndPaint(int descriptor, short events, Clock::time_point deadline) {
    if (!HoldsLibrary())
        return WaitFor(descriptor, events, deadline);
    bool ready = false;
    WaitOutsideLibrary([&](Clock::time_point slice) {
        ready = WaitFor(descriptor, events, std::min(slice, deadline));
        return ready || errno != ETIMEDOUT || slice >= deadline;
    });
    return ready;
}
