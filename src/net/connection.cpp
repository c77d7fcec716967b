#include "base/fd.h"
#include "base/text.h"
#include "net/server.h"
#include "net/wait.h"
#include "widgets/toolkit.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <future>
#include <memory>
#include <netdb.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <system_error>
#include <unistd.h>
#include <vector>

namespace {

struct Address {
    char scheme[kAddressWidth], host[kAddressWidth], path[kAddressWidth];
    int32_t port;
};

/// The address to connect to: "http_proxy" takes the place of every server. No request is sent to it as a proxy.
void ChooseAddress(char const *server, int kind, Address &address) {
    char const *const proxy = getenv("http_proxy");
    ParseServerAddress(proxy ? proxy : server, address.scheme, address.host, address.port, address.path, kind);
}

using AddressList = std::unique_ptr<addrinfo, void (*)(addrinfo *)>;

/// "255.255.255.255" was always the answer for an unknown host and stays one.
bool IsUsable(addrinfo const &entry) {
    return entry.ai_family != AF_INET ||
           reinterpret_cast<sockaddr_in const *>(entry.ai_addr)->sin_addr.s_addr != INADDR_BROADCAST;
}

/// getaddrinfo, which takes as long as the name's servers want: on a thread of its own when the caller holds the
/// library.
int LookUp(char const *host, char const *port, addrinfo const &hints, addrinfo *&found) {
    auto const look = [&] { return getaddrinfo(host, port, &hints, &found); };
    if (!HoldsLibrary())
        return look();
    std::future<int> result;
    try {
        result = std::async(std::launch::async, look);
    } catch (std::system_error const &) {
        return look(); // no thread to be had: nothing is painted then
    }
    WaitOutsideLibrary(
        [&](Clock::time_point slice) { return result.wait_until(slice) == std::future_status::ready; });
    return result.get();
}

std::vector<addrinfo const *> Resolve(Address const &address, AddressList &list) {
    std::vector<addrinfo const *> usable;
    if (!address.host[0] || address.port < 1 || address.port > 65535)
        return usable;
    char port[12];
    PrintText(port, sizeof port, "%d", address.port);
    addrinfo hints{};
    hints.ai_socktype = SOCK_STREAM;
    hints.ai_flags = AI_NUMERICSERV;
    addrinfo *found = nullptr;
    if (LookUp(address.host, port, hints, found) != 0)
        return usable;
    list.reset(found);
    for (addrinfo const *entry = found; entry; entry = entry->ai_next)
        if (IsUsable(*entry))
            usable.push_back(entry);
    return usable;
}

constexpr auto kCancelSlice = std::chrono::milliseconds(100);

using CancelFlag = std::atomic<bool> const *;
bool IsSet(CancelFlag cancelled) { return cancelled && *cancelled; }

/// Waits until the attempt is over, looking at the flag now and then.
bool WaitConnected(int socket, Clock::time_point deadline, CancelFlag cancelled) {
    if (!cancelled)
        return WaitAndPaint(socket, POLLOUT, deadline);
    while (!IsSet(cancelled)) {
        auto const slice = Clock::now() + kCancelSlice;
        if (WaitAndPaint(socket, POLLOUT, std::min(slice, deadline)))
            return true;
        if (slice >= deadline)
            return false;
    }
    errno = ECANCELED;
    return false;
}

bool Connect(int socket, addrinfo const &address, Clock::time_point deadline, CancelFlag cancelled) {
    if (connect(socket, address.ai_addr, address.ai_addrlen) == 0)
        return true;
    if (errno != EINPROGRESS || !WaitConnected(socket, deadline, cancelled))
        return false;
    int error = 0;
    socklen_t size = sizeof error;
    if (getsockopt(socket, SOL_SOCKET, SO_ERROR, &error, &size) != 0)
        return false;
    errno = error;
    return error == 0;
}

/// Whatever reads or writes without a bound of its own ends with the silence too; small commands leave at once.
bool Prepare(int socket) {
    timeval const silence{kSilenceSeconds, 0};
    int const yes = 1;
    int const flags = fcntl(socket, F_GETFL);
    return flags >= 0 && fcntl(socket, F_SETFL, flags & ~O_NONBLOCK) == 0 &&
           setsockopt(socket, IPPROTO_TCP, TCP_NODELAY, &yes, sizeof yes) == 0 &&
           setsockopt(socket, SOL_SOCKET, SO_RCVTIMEO, &silence, sizeof silence) == 0 &&
           setsockopt(socket, SOL_SOCKET, SO_SNDTIMEO, &silence, sizeof silence) == 0;
}

/// A socket that is above the standard descriptors also when those are closed: 0 means "no connection" here.
Fd NewSocket(int family) {
    Fd fresh(socket(family, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    if (fresh.Valid() && fresh.Get() < 3)
        fresh.Reset(fcntl(fresh.Get(), F_DUPFD_CLOEXEC, 3));
    return fresh;
}

/// Tries each address in turn, each for its share of the time, so that a dead first one leaves time for the second.
int ConnectToAny(std::vector<addrinfo const *> const &addresses, int kind, CancelFlag cancelled = nullptr) {
    auto const end = Clock::now() + std::chrono::seconds(kConnectSeconds);
    char const *failed = "pop: socket()";
    int error = 0;
    for (size_t i = 0; i < addresses.size() && !IsSet(cancelled); i++) {
        auto const now = Clock::now();
        Fd socket = NewSocket(addresses[i]->ai_family);
        if (socket.Valid()) {
            failed = "pop: connect()";
            if (Connect(socket.Get(), *addresses[i], now + (end - now) / (addresses.size() - i), cancelled) &&
                Prepare(socket.Get()))
                return socket.Release();
        }
        error = errno;
    }
    if (IsSet(cancelled))
        return -1;
    errno = error;
    perror(failed);
    SetStatus(kind == kNntp ? "Could not connect to the news server" : "Could not connect to mail server");
    return -1;
}

} // namespace

int OpenMailConnection(MailProfile &profile, void *, int) {
    Address address;
    ChooseAddress(profile.popServer, kPop3, address);
    AddressList list(nullptr, freeaddrinfo);
    std::vector<addrinfo const *> const addresses = Resolve(address, list);
    if (!addresses.empty())
        return ConnectToAny(addresses, kPop3);
    errno = EHOSTUNREACH;
    perror("Error: Unknown Host\n");
    SetStatus("Host unknown, could not connect to mail server");
    return -1;
}

int OpenServerConnection(char const *text, int kind, int, std::atomic<bool> const *cancelled) {
    Address address;
    ChooseAddress(text, kind, address);
    AddressList list(nullptr, freeaddrinfo);
    std::vector<addrinfo const *> const addresses = Resolve(address, list);
    if (IsSet(cancelled))
        return -1;
    if (!addresses.empty())
        return ConnectToAny(addresses, kind, cancelled);
    fprintf(stderr, "Unknown host %s\n", address.host);
    SetStatus("Host unknown, could not connect to mail server");
    return -1;
}

void CloseConnection(ServerAccount &account, int32_t afterwards) {
    int32_t const socket = account.serverSocket.exchange(afterwards);
    if (socket > 0)
        close(socket);
}
