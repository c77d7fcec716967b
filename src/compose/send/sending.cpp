#include "compose/send/sending.h"

#include "base/log.h"
#include "compose/plain_lines.h"
#include "net/line_io.h"

#include <cerrno>
#include <cstring>
#include <ctime>
#include <optional>
#include <poll.h>

namespace {

constexpr size_t kLargestSignature = 1 << 20;
constexpr int kFinalAnswerMilliseconds = 3000;
constexpr int kMailAccepted = 250, kArticlePosted = 240;

void ReadSignature(ComposeState &state, char const *path, OutgoingMessage &message) {
    if (!path[0])
        return;
    std::optional<std::string> text = ReadRegularFile(path, kLargestSignature);
    if (!text && errno == EFBIG)
        AlertSender(state,
                    std::string("The signature file ") + path + " is larger than 1 MB, the message goes without it");
    message.hasSignature = text.has_value();
    message.signature = std::move(text).value_or("");
}

} // namespace

SendSocket::SendSocket(ComposeState &state, int socket) : state_(state), socket_(socket) {
    std::lock_guard const lock(state_.socketLock);
    state_.sendSocket = socket;
}

SendSocket::~SendSocket() {
    std::lock_guard const lock(state_.socketLock);
    state_.sendSocket = -1;
    socket_.Reset();
}

void FillMessage(ComposeState &state, OutgoingMessage &message, SendInput &input, ServerAccount const &account) {
    time_t const now = time(nullptr);
    message.date = DateText(now);
    message.boundary = BoundaryText(now);
    message.fullName = FieldValue(account.fullName);
    message.address = FieldValue(account.emailAddress);
    message.to = FieldValue(input.to);
    message.cc = FieldValue(input.cc);
    message.subject = FieldValue(input.subject);
    message.text = PlainLines(input.text);
    ReadSignature(state, account.signatureFile, message);
}

void WriteBody(ComposeState &state, OutgoingMessage const &message, MessageSink &sink, bool shown) {
    int before = kBodyProgress;
    if (shown)
        SetSendProgress(state, before);
    WriteMessageBody(message, sink, [&](int percent) {
        if (shown && std::exchange(before, percent) != percent)
            SetSendProgress(state, percent);
    });
}

// The dot's line has an empty one behind it; servers answer that one after the message and are not asked for it.
bool EndMessage(int socket) { return WriteServerBytes(socket, "\r\n.\r\n\r\n"); }

void WaitForFinalAnswer(int socket) {
    pollfd wanted{socket, POLLIN, 0};
    if (poll(&wanted, 1, kFinalAnswerMilliseconds) < 0)
        LogError("in SendEmailThread, select returned -1: %s (%i)\n", strerror(errno), errno);
}

bool IsTaken(int32_t number) { return number == kMailAccepted || number == kArticlePosted; }
