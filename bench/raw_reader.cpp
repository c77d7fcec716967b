#include "raw_reader.h"

#include "base/fd.h"

#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>
#include <vector>

namespace {

constexpr std::string_view kMark = "\r\n.\r\n";

struct Wire {
    Fd socket;
    std::vector<char> &bytes;
    size_t used = 0;

    /// Reads until what has arrived ends in `end`.
    bool ReadTo(std::string_view end) {
        used = 0;
        while (!std::string_view(bytes.data(), used).ends_with(end)) {
            ssize_t const got = recv(socket.Get(), bytes.data() + used, bytes.size() - used, 0);
            if (got <= 0)
                return false;
            used += static_cast<size_t>(got);
        }
        return bytes[0] == '+';
    }
    bool Ask(std::string const &command, std::string_view end = "\r\n") {
        return send(socket.Get(), command.data(), command.size(), MSG_NOSIGNAL) ==
                   static_cast<ssize_t>(command.size()) &&
               ReadTo(end);
    }
};

bool Connect(Wire &wire, int port) {
    wire.socket.Reset(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<uint16_t>(port));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    int const yes = 1;
    return connect(wire.socket.Get(), reinterpret_cast<sockaddr *>(&address), sizeof address) == 0 &&
           setsockopt(wire.socket.Get(), IPPROTO_TCP, TCP_NODELAY, &yes, sizeof yes) == 0 && wire.ReadTo("\r\n") &&
           wire.Ask("USER alice\r\n") && wire.Ask("PASS secret\r\n") && wire.Ask("STAT\r\n");
}

bool Store(Wire const &wire, std::string const &path) {
    Fd file(open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600));
    char const *const text = static_cast<char const *>(memchr(wire.bytes.data(), '\n', wire.used)) + 1;
    size_t const size = static_cast<size_t>(wire.bytes.data() + wire.used - 3 - text);
    return file.Valid() && WriteAll(file.Get(), {text, size}) && file.Reset();
}

bool Take(Wire &wire, RawDialogue dialogue, std::string const &number, std::string const &directory) {
    if (dialogue == RawDialogue::Headers)
        return wire.Ask("TOP " + number + " 0\r\n", kMark);
    if (!wire.Ask("RETR " + number + "\r\n", kMark))
        return false;
    return dialogue == RawDialogue::Fetch ||
           (Store(wire, directory + "/" + number) && wire.Ask("DELE " + number + "\r\n"));
}

} // namespace

int ReadRaw(int port, RawDialogue dialogue, std::string const &directory, std::vector<char> &room) {
    Wire wire{Fd(), room};
    if (!Connect(wire, port))
        return -1;
    wire.bytes[wire.used] = 0;
    int const count = static_cast<int>(strtol(wire.bytes.data() + 4, nullptr, 10));
    for (int number = 1; dialogue != RawDialogue::Count && number <= count; number++)
        if (!Take(wire, dialogue, std::to_string(number), directory))
            return -1;
    bool const quits = dialogue == RawDialogue::Count || dialogue == RawDialogue::Remove;
    return !quits || wire.Ask("QUIT\r\n") ? count : -1;
}
