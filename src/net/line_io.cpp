#include "net/line_io.h"

#include "base/text.h"
#include "net/wait.h"

#include <algorithm>
#include <cstring>
#include <span>
#include <sys/socket.h>
#include <sys/uio.h>

namespace {

/// Receives within the time that `seconds` leave.
ssize_t Receive(int socket, char *bytes, size_t size, int flags, int seconds, Clock::time_point deadline) {
    for (;;) {
        ssize_t const got = recv(socket, bytes, size, flags | MSG_DONTWAIT);
        if (got >= 0)
            return got;
        if (errno == EINTR && Clock::now() < deadline)
            continue;
        if (errno != EAGAIN || seconds <= 0 || !WaitFor(socket, POLLIN, deadline))
            return -1;
    }
}

/// Takes exactly the bytes that a look has shown to be there.
bool Consume(int socket, char *bytes, size_t size) {
    while (size > 0) {
        ssize_t const got = recv(socket, bytes, size, MSG_DONTWAIT);
        if (got < 0 && errno == EINTR)
            continue;
        if (got <= 0)
            return false;
        size -= static_cast<size_t>(got);
    }
    return true;
}

bool EndsLine(char byte) { return static_cast<signed char>(byte) <= 10; }
bool IsStored(char byte) { return static_cast<signed char>(byte) > 20; }
bool IsLineFeed(char byte) { return byte == '\n'; }

/// Reads up to the byte for which `ends` is true; the text ends at the first that EndsLine names. What comes behind
/// stays to be read, or goes into `behind`, of which `kept` bytes are filled then.
int ReadLine(int socket, char *buffer, int size, int seconds, bool (*ends)(char), std::span<char> behind = {},
             size_t *kept = nullptr) {
    size_t const width = size > 0 ? static_cast<size_t>(size) : 0;
    memset(buffer, 0, width);
    if (socket < 1)
        return -1;
    auto const silence = std::chrono::seconds(seconds);
    auto const latest = Clock::now() + LongestWait(seconds);
    size_t position = 0;
    size_t room = width ? width - 1 : 0;
    while (position < kLongestLine) {
        char look[1024];
        std::span<char> const piece = behind.empty() ? std::span<char>(look) : behind;
        char *const seen = piece.data();
        auto const now = Clock::now();
        ssize_t const got = now < latest ? Receive(socket, seen, piece.size(), behind.empty() ? MSG_PEEK : 0, seconds,
                                                   std::min(now + silence, latest))
                                         : -1;
        if (got <= 0)
            return static_cast<int>(got);
        char const *const end = std::find_if(seen, seen + got, ends);
        bool const whole = end != seen + got;
        size_t const taken = static_cast<size_t>(end - seen) + (whole ? 1 : 0);
        if (behind.empty() && !Consume(socket, seen, taken))
            return -1;
        // A byte that is not stored still takes its place, so that the text reads as ended there.
        for (size_t i = 0; i < taken && position + i < room; i++)
            if (IsStored(seen[i]))
                buffer[position + i] = seen[i];
            else if (EndsLine(seen[i]))
                room = position + i;
        position += taken;
        if (!whole)
            continue;
        if (kept) {
            *kept = static_cast<size_t>(got) - taken;
            memmove(seen, seen + taken, *kept);
        }
        return static_cast<int>(position);
    }
    return -1;
}

} // namespace

int ReadServerLine(int socket, char *buffer, int size, int seconds) {
    return ReadLine(socket, buffer, size, seconds, EndsLine);
}

int ReadServerReply(int socket, char *buffer, int size, std::span<char> behind, size_t &kept) {
    kept = 0;
    return ReadLine(socket, buffer, size, kSilenceSeconds, EndsLine, behind, &kept);
}

int ReadWholeLine(int socket, char *buffer, int size, int seconds) {
    return ReadLine(socket, buffer, size, seconds, IsLineFeed);
}

bool WriteServerBytes(int socket, std::string_view bytes) {
    if (socket < 1) {
        errno = EBADF;
        return false;
    }
    while (!bytes.empty()) {
        ssize_t const now = send(socket, bytes.data(), bytes.size(), MSG_NOSIGNAL);
        if (now < 0 && errno == EINTR)
            continue;
        if (now < 0)
            return false;
        bytes.remove_prefix(static_cast<size_t>(now));
    }
    return true;
}

int WriteServerLine(int socket, char const *text) {
    if (socket < 1) {
        errno = EBADF;
        return -1;
    }
    std::string_view const line = FirstLine(text);
    iovec parts[2] = {{const_cast<char *>(line.data()), line.size()}, {const_cast<char *>("\r\n"), 2}};
    msghdr message{};
    message.msg_iov = parts;
    message.msg_iovlen = 2;
    size_t const total = line.size() + 2;
    for (size_t sent = 0; sent < total;) {
        ssize_t const now = sendmsg(socket, &message, MSG_NOSIGNAL);
        if (now < 0 && errno == EINTR)
            continue;
        if (now < 0)
            return -1;
        sent += static_cast<size_t>(now);
        size_t const first = std::min(sent, line.size());
        parts[0] = {const_cast<char *>(line.data()) + first, line.size() - first};
        parts[1] = {const_cast<char *>("\r\n") + (sent - first), 2 - (sent - first)};
    }
    return static_cast<int>(total);
}

int ReadServerBytes(int socket, char *buffer, int size, int seconds) {
    if (socket < 1 || size < 1)
        return -1;
    return static_cast<int>(
        Receive(socket, buffer, static_cast<size_t>(size), 0, seconds, Clock::now() + std::chrono::seconds(seconds)));
}
