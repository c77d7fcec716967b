#include "base/thread.h"

#include <system_error>
#include <thread>

bool StartDetached(std::function<void()> work) {
    try {
        std::thread([work = std::move(work)]() mutable {
            work();
            work = nullptr; // what it holds ends before the thread does
        }).detach();
    } catch (std::system_error const &) {
        return false;
    }
    return true;
}
