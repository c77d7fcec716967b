#pragma once
// Bounded waiting for a descriptor. Private to this folder.

#include <cerrno>
#include <chrono>
#include <poll.h>

using Clock = std::chrono::steady_clock;

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
