#include "net/lookup.h"

#include "base/thread.h"

#include <condition_variable>
#include <mutex>

namespace {

constexpr auto kSlice = std::chrono::milliseconds(50);

AddressList NoAddresses() { return {nullptr, freeaddrinfo}; }

AddressList Ask(std::string const &host, std::string const &port, int flags) {
    addrinfo hints{};
    hints.ai_socktype = SOCK_STREAM;
    hints.ai_flags = AI_NUMERICSERV | flags;
    addrinfo *found = nullptr;
    return {getaddrinfo(host.c_str(), port.c_str(), &hints, &found) == 0 ? found : nullptr, freeaddrinfo};
}

/// What the asking and the waiting thread share; the later of them frees it.
struct Answer {
    std::mutex mutex;
    std::condition_variable changed;
    bool there = false;
    AddressList addresses = NoAddresses();
};

} // namespace

AddressList LookUpHost(char const *host, int port, std::chrono::steady_clock::time_point deadline,
                       StopPredicate const &stopped) {
    std::string const name = host, service = std::to_string(port);
    if (AddressList numeric = Ask(name, service, AI_NUMERICHOST))
        return numeric;
    auto const answer = std::make_shared<Answer>();
    bool const started = StartDetached([answer, name, service] {
        AddressList found = Ask(name, service, 0);
        std::lock_guard const lock(answer->mutex);
        answer->addresses = std::move(found);
        answer->there = true;
        answer->changed.notify_one();
    });
    while (started && !(stopped && stopped()) && std::chrono::steady_clock::now() < deadline) {
        std::unique_lock lock(answer->mutex);
        if (answer->changed.wait_for(lock, kSlice, [&] { return answer->there; }))
            return std::move(answer->addresses);
    }
    return NoAddresses();
}
