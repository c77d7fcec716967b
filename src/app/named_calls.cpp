#include "app/named_calls.h"

#include "app/check_thread.h"
#include "app/shown_check.h"
#include "base/log.h"
#include "base/text.h"
#include "net/connection.h"
#include "net/session_lock.h"
#include "pop/dialogue.h"
#include "pop/fetch.h"
#include "widgets/toolkit.h"

#include <cstdlib>
#include <cstring>
#include <optional>
#include <sys/socket.h>

namespace {

constexpr size_t kSpare = 20; ///< zero bytes after a text

constexpr int kLongestLine = 16 << 20;

int Shown(OpenedSocket opened) {
    if (!opened.outcome)
        SetStatus(opened.outcome.text);
    return opened.socket.Release();
}

/// A lost connection is closed and told.
bool Holds(ServerAccount &account, Outcome const &outcome) {
    if (outcome.ending != Ending::kLost)
        return true;
    CloseConnection(account);
    SetStatus(outcome.text);
    return false;
}

char *CopyOf(std::string const &text, size_t length) {
    auto *const copy = static_cast<char *>(calloc(length + kSpare, 1));
    if (copy)
        memcpy(copy, text.data(), length);
    return copy;
}

} // namespace

int OpenMailConnection(MailProfile &profile, void *, int kind) { return Shown(OpenSocket(profile.popServer, kind)); }

int OpenServerConnection(char const *text, int kind, int) { return Shown(OpenSocket(text, kind)); }

int ReadServerLine(int socket, char *buffer, int size) {
    memset(buffer, 0, static_cast<size_t>(size));
    int position = 0;
    signed char byte = 0;
    do {
        if (recv(socket, &byte, 1, 0) != 1)
            return position;
        if (byte > 20 && position < size - 1)
            buffer[position] = static_cast<char>(byte);
        position++;
    } while (byte > 10 && position < kLongestLine);
    return position;
}

int WriteServerLine(int socket, char const *text) {
    std::string const line = std::string(FirstLine(text)) + "\r\n";
    return static_cast<int>(send(socket, line.data(), line.size(), MSG_NOSIGNAL));
}

int PopLogin(MailProfile &profile) {
    Stream *const stream = StreamOf(profile);
    if (!stream)
        return -1;
    Outcome const outcome = LogIn(*stream, profile.userName, profile.password);
    if (Holds(profile, outcome) && !outcome.text.empty())
        SetStatus(outcome.text);
    return outcome ? 1 : -1;
}

char *getMessage(int number, MailProfile &profile, int lockHeld, size_t *length) {
    LogDebug(0, "in getMessage() with socket: %d", profile.serverSocket.load());
    if (profile.serverSocket < 0)
        return nullptr;
    std::optional<SessionLock> lock;
    if (!lockHeld)
        lock.emplace(profile, StopPredicate());
    if (profile.serverSocket == 0) {
        LogDebug(0, "Go get a SOCKET");
        profile.serverSocket = OpenMailConnection(profile, nullptr, kPop3);
        if (profile.serverSocket < 0 || PopLogin(profile) != 1)
            return nullptr;
    }
    // Another user of the connection may have lost it while this one waited.
    Stream *const stream = StreamOf(profile);
    if (!stream)
        return nullptr;
    FetchedMessage const message = FetchMessage(*stream, number);
    if (!Holds(profile, message.outcome) || !message.outcome)
        return nullptr;
    if (length)
        *length = message.text.size();
    return CopyOf(message.text, message.text.size());
}

char *TopHeader(MailProfile &profile, int number) {
    Stream *const stream = StreamOf(profile);
    if (!stream)
        return nullptr;
    FetchedHeader const header = FetchHeader(*stream, number);
    if (!Holds(profile, header.outcome) || !header.outcome)
        return nullptr;
    return CopyOf(header.text, strlen(header.text.c_str()));
}

int CheckMailSession(MailProfile &profile, PtWidget_t *) {
    bool const whole = static_cast<bool>(RunShownCheck(profile, {}));
    UnblockCheckWidgets();
    return whole ? 1 : -1;
}
