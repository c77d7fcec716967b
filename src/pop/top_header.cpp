#include "base/text.h"
#include "net/line_io.h"
#include "pop/check_mail.h"
#include "pop/pop_login.h"
#include "pop/transfer.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstring>
#include <string>

namespace {

constexpr int32_t kUnknownSize = 10000;
/// A header block that does not end is given up: after so many bytes, or this time.
constexpr size_t kLongestBlock = 64 << 20;
constexpr auto kLongestTime = std::chrono::seconds(10 * kSilenceSeconds);

constexpr size_t kTail = 4;
using Window = std::array<char, kTail + kPieceSize>; ///< the last bytes before a piece, and the piece

/// Receives a header block to its end mark and keeps its first `most` bytes; `size` bytes of it have come with the
/// reply. False when the connection is lost.
bool ReadBlock(int socket, Window &window, size_t size, size_t most, std::string &kept) {
    char *const piece = window.data() + kTail;
    memcpy(window.data(), "\0\0\r\n", kTail);
    auto const latest = std::chrono::steady_clock::now() + kLongestTime;
    for (size_t total = 0; total < kLongestBlock && std::chrono::steady_clock::now() < latest;) {
        auto const *const mark = static_cast<char const *>(memmem(window.data(), kTail + size, "\r\n.\r\n", 5));
        size_t const taken = mark ? static_cast<size_t>(mark + 5 - piece) : size;
        kept.append(piece, std::min(taken, most - kept.size()));
        if (mark)
            return true;
        memmove(window.data(), window.data() + size, kTail);
        total += size;
        int const got = ReadServerBytes(socket, piece, kPieceSize);
        if (got <= 0)
            return false;
        size = static_cast<size_t>(got);
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
    Window window;
    size_t behind = 0;
    if (WriteServerLine(socket, reply) < 0 ||
        ReadServerReply(socket, reply, sizeof reply, std::span(window).subspan(kTail), behind) <= 0) {
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
    if (!ReadBlock(socket, window, behind, static_cast<size_t>(size), kept)) {
        LoseConnection(profile);
        return nullptr;
    }
    return strndup(kept.data(), kept.size());
}
