#include "pop/pop_login.h"

#include "base/text.h"
#include "net/connection.h"
#include "net/line_io.h"
#include "widgets/toolkit.h"

#include <chrono>
#include <cstring>
#include <string>

namespace {

constexpr size_t kLongestGreeting = 16 << 20;
constexpr auto kLongestWait = std::chrono::minutes(2);

/// Reads the greeting to its LF, whatever it holds: ReadServerLine would stop at a tab or an 8-bit letter and take
/// the rest for the next reply. One that does not end is given up like a line.
bool ReadGreeting(int socket) {
    char bytes[kReplyWidth];
    auto const latest = std::chrono::steady_clock::now() + kLongestWait;
    for (size_t received = 0; received < kLongestGreeting && std::chrono::steady_clock::now() < latest;) {
        int const got = ReadServerBytes(socket, bytes, sizeof bytes);
        if (got <= 0)
            return false;
        if (memchr(bytes, '\n', static_cast<size_t>(got)))
            return true;
        received += static_cast<size_t>(got);
    }
    return false;
}

/// Sends one command of the login and reads the reply. False when the connection is lost.
bool Ask(int socket, char const *command, char const *argument, char *reply) {
    std::string line = std::string(command).append(FirstLine(argument));
    bool const sent = WriteServerLine(socket, line.c_str()) > 0;
    explicit_bzero(line.data(), line.size());
    return sent && ReadServerLine(socket, reply, kReplyWidth) > 0;
}

} // namespace

void LoseConnection(ServerAccount &account) {
    CloseConnection(account);
    SetStatus("Lost the connection to the mail server");
}

int PopLogin(MailProfile &profile) {
    int const socket = profile.serverSocket;
    char reply[kReplyWidth];
    if (!ReadGreeting(socket) || !Ask(socket, "USER ", profile.userName, reply))
        return LoseConnection(profile), -1;
    if (!StartsWithNoCase(reply, "+OK"))
        return -1;
    if (!Ask(socket, "PASS ", profile.password, reply))
        return LoseConnection(profile), -1;
    if (StartsWithNoCase(reply, "+OK"))
        return 1;
    SetStatus(reply);
    return -1;
}
