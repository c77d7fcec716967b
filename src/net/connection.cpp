#include "net/connection.h"

#include "base/text.h"
#include "net/lookup.h"
#include "net/security.h"
#include "net/starttls.h"
#include "net/tls/tls.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;

constexpr auto kSlice = std::chrono::milliseconds(50);

struct Address {
    char scheme[kAddressWidth], host[kAddressWidth], path[kAddressWidth];
    int32_t port;
};

/// "http_proxy" takes the place of every server.
void ChooseAddress(char const *server, int kind, Address &address) {
    // kept: no request is sent to it as a proxy, the dialogue runs with it as with the server.
    char const *const proxy = getenv("http_proxy");
    ParseServerAddress(proxy ? proxy : server, address.scheme, address.host, address.port, address.path, kind);
}

/// "255.255.255.255" was always the answer for an unknown host and stays one.
bool IsUsable(addrinfo const &entry) {
    return entry.ai_family != AF_INET ||
           reinterpret_cast<sockaddr_in const *>(entry.ai_addr)->sin_addr.s_addr != INADDR_BROADCAST;
}

bool IsSet(StopPredicate const &stopped) { return stopped && stopped(); }

/// Waits until the attempt is over. False with errno ETIMEDOUT or ECANCELED.
bool WaitConnected(int socket, Clock::time_point deadline, StopPredicate const &stopped) {
    while (!IsSet(stopped)) {
        auto const left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now());
        if (left.count() <= 0) {
            errno = ETIMEDOUT;
            return false;
        }
        pollfd wanted{socket, POLLOUT, 0};
        if (poll(&wanted, 1, static_cast<int>(std::min(left, std::chrono::milliseconds(kSlice)).count())) > 0)
            return true;
    }
    errno = ECANCELED;
    return false;
}

bool Connect(int socket, addrinfo const &address, Clock::time_point deadline, StopPredicate const &stopped) {
    if (connect(socket, address.ai_addr, address.ai_addrlen) == 0)
        return true;
    if (errno != EINPROGRESS || !WaitConnected(socket, deadline, stopped))
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
    timeval const silence{StreamLimits().silence.count(), 0};
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
OpenedSocket ConnectToAny(std::vector<addrinfo const *> const &addresses, int kind, Clock::time_point end,
                          StopPredicate const &stopped) {
    char const *failed = "pop: socket()";
    int error = 0;
    for (size_t i = 0; i < addresses.size() && !IsSet(stopped); i++) {
        auto const now = Clock::now();
        Fd socket = NewSocket(addresses[i]->ai_family);
        if (socket.Valid()) {
            failed = "pop: connect()";
            auto const share = (end - now) / static_cast<long>(addresses.size() - i);
            if (Connect(socket.Get(), *addresses[i], now + share, stopped) && Prepare(socket.Get()))
                return {std::move(socket), {}};
        }
        error = errno;
    }
    if (IsSet(stopped))
        return {{}, Stopped()};
    errno = error;
    perror(failed);
    return {{}, Failed(kind == kNntp ? "Could not connect to the news server" : "Could not connect to mail server")};
}

OpenedSocket UnknownHost(char const *host, int kind) {
    if (kind == kPop3) {
        errno = EHOSTUNREACH;
        perror("Error: Unknown Host\n");
    } else {
        fprintf(stderr, "Unknown host %s\n", host);
    }
    return {{}, Failed("Host unknown, could not connect to mail server")}; // kept: the words for every kind of server
}

/// Brings the connection to what the server's text asks for.
Outcome Secure(Stream &stream, ServerMeaning const &meaning, int kind) {
    if (meaning.security == Security::kPlain)
        return {};
    if (meaning.security == Security::kStartTls)
        if (Outcome asked = AskForTls(stream, kind, meaning.host); !asked)
            return asked;
    Outcome started =
        StartTls(stream, meaning.host, meaning.port, AcceptedFingerprintFor(meaning.host, meaning.port));
    if (started && meaning.security == Security::kStartTls)
        stream.PutBack(GreetingAfterTls(kind));
    return started;
}

} // namespace

OpenedSocket OpenSocket(char const *text, int kind, StopPredicate const &stopped) {
    auto const end = Clock::now() + std::chrono::seconds(kConnectSeconds);
    Address address;
    ServerMeaning const meaning = MeaningOf(text, kind);
    if (meaning.security == Security::kPlain) {
        ChooseAddress(text, kind, address);
    } else { // a proxy that is none of the server's names would not pass as the server
        CopyText(address.host, meaning.host);
        address.port = meaning.port;
    }
    AddressList found(nullptr, freeaddrinfo);
    if (address.host[0] && address.port >= 1 && address.port <= 65535)
        found = LookUpHost(address.host, address.port, end, stopped);
    if (IsSet(stopped))
        return {{}, Stopped()};
    std::vector<addrinfo const *> usable;
    for (addrinfo const *entry = found.get(); entry; entry = entry->ai_next)
        if (IsUsable(*entry))
            usable.push_back(entry);
    return usable.empty() ? UnknownHost(address.host, kind) : ConnectToAny(usable, kind, end, stopped);
}

OpenedStream OpenStream(char const *text, int kind, StopPredicate const &stopped) {
    OpenedSocket opened = OpenSocket(text, kind, stopped);
    if (!opened.outcome)
        return {nullptr, std::move(opened.outcome)};
    auto stream = std::make_unique<Stream>(PlainChannel(std::move(opened.socket)));
    stream->StopWhen(stopped);
    Outcome secured = Secure(*stream, MeaningOf(text, kind), kind);
    stream->StopWhen({});
    return {secured ? std::move(stream) : nullptr, std::move(secured)};
}

Stream *StreamOf(ServerAccount &account) {
    int32_t const socket = account.serverSocket;
    if (socket < 1)
        return nullptr;
    if (!account.stream || account.stream->Descriptor() != socket)
        account.stream = std::make_shared<Stream>(PlainChannel(Fd(socket)));
    return account.stream.get();
}

void SetStream(ServerAccount &account, std::unique_ptr<Stream> stream) {
    CloseConnection(account);
    account.serverSocket = stream ? stream->Descriptor() : -1;
    account.stream = std::move(stream);
}

void CloseConnection(ServerAccount &account, int32_t afterwards) {
    int32_t const socket = account.serverSocket.exchange(afterwards);
    if (socket > 0 && (!account.stream || account.stream->Descriptor() != socket))
        close(socket);
    account.stream.reset();
}
