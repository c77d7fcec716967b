#include "base/text.h"
#include "net/server.h"
#include "pop/check_mail.h"
#include "pop/transfer.h"

#include <algorithm>
#include <chrono>
#include <cstring>
#include <string>

namespace {

constexpr int32_t kUnknownSize = 10000;
/// A header block that does not end is given up: after so many bytes, or this time.
constexpr size_t kLongestBlock = 64 << 20;
constexpr auto kLongestTime = std::chrono::seconds(10 * kSilenceSeconds);

/// Receives a header block to its end mark and keeps its first `most` bytes. False when the connection is lost.
bool ReadBlock(int socket, size_t most, std::string &kept) {
    constexpr size_t kTail = 4;
    char window[kTail + kPieceSize] = {0, 0, '\r', '\n'}; // the last bytes before a piece, in front of it
    auto const latest = std::chrono::steady_clock::now() + kLongestTime;
    for (size_t total = 0; total < kLongestBlock && std::chrono::steady_clock::now() < latest;) {
        int const got = ReadServerBytes(socket, window + kTail, kPieceSize);
        if (got <= 0)
            return false;
        size_t const size = static_cast<size_t>(got);
        void const *const mark = memmem(window, kTail + size, "\r\n.\r\n", 5);
        size_t const taken =
            mark ? static_cast<size_t>(static_cast<char const *>(mark) + 5 - (window + kTail)) : size;
        kept.append(window + kTail, std::min(taken, most - kept.size()));
        if (mark)
            return true;
        memmove(window, window + size, kTail);
        total += size;
    }
    return false;
}

} // namespace

char *TopHeader(MailProfile &profile, int number) {
    int const socket = profile.serverSocket;
    if (socket < 1)
        return nullptr;
    char reply[kReplyWidth];
    PrintText(reply, sizeof reply, "TOP %d 0", number);
    if (WriteServerLine(socket, reply) < 0 || ReadServerLine(socket, reply, sizeof reply) <= 0) {
        LoseConnection(profile);
        return nullptr;
    }
    if (!StartsWithNoCase(reply, "+OK")) {
        ReadServerBytes(socket, reply, sizeof reply, 0);
        return nullptr;
    }
    int32_t size = DecimalPrefix(reply[3] ? reply + 4 : "");
    if (size <= 0)
        size = kUnknownSize;
    std::string kept;
    if (!ReadBlock(socket, static_cast<size_t>(size), kept)) {
        LoseConnection(profile);
        return nullptr;
    }
    return strndup(kept.data(), kept.size());
}
