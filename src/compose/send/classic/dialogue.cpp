#include "compose/send/classic/dialogue.h"

#include "base/log.h"
#include "compose/send/classic/delivery.h"
#include "news/session/nntp.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <poll.h>

namespace {

constexpr int kAnswerSlices = 30, kSliceMilliseconds = 100;

void AwaitAnswer(Stream &stream) {
    for (int i = 0; i < kAnswerSlices && !stream.HasMore() && !stream.Stopped(); i++) {
        pollfd wanted{stream.Descriptor(), POLLIN, 0};
        int const ready = poll(&wanted, 1, kSliceMilliseconds);
        if (ready < 0)
            LogError("in SendEmailThread, select returned -1: %s (%i)\n", strerror(errno), errno);
        if (ready != 0)
            return;
    }
}

} // namespace

std::string ShownReply(std::string_view line) {
    auto const isText = [](char byte) { return static_cast<signed char>(byte) > 20; };
    return {line.begin(), std::find_if_not(line.begin(), line.end(), isText)};
}

Outcome LossOfSending(Stream const &stream) { return stream.Stopped() ? Stopped() : Lost(kNoConnection); }

bool SendText(Stream &stream, std::function<bool()> const &write, bool *dotSent) {
    // The dot's line has an empty one after it; servers answer that one after the message and are not asked for it.
    if (!write() || !stream.Write("\r\n.\r\n\r\n"))
        return false;
    if (dotSent)
        *dotSent = true;
    AwaitAnswer(stream);
    return true;
}

bool IsTaken(int32_t code) { return code == kSmtpOk || code == kArticlePosted; }
