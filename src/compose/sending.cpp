#include "compose/sending.h"

#include "base/log.h"
#include "net/server.h"

#include <cerrno>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>

namespace {

constexpr long kLargestSignature = 1 << 20;
constexpr int kFinalAnswerMilliseconds = 3000;
constexpr int kMailAccepted = 250, kArticlePosted = 240;

void ReadSignature(ComposeState &state, char const *path, OutgoingMessage &message) {
    if (!path[0])
        return;
    Fd const file(open(path, O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    struct stat status;
    if (!file.Valid() || fstat(file.Get(), &status) != 0 || !S_ISREG(status.st_mode))
        return;
    if (status.st_size > kLargestSignature) {
        AlertSender(state,
                    std::string("The signature file ") + path + " is larger than 1 MB, the message goes without it");
        return;
    }
    message.signature.resize(static_cast<size_t>(status.st_size));
    long const got = ReadAll(file.Get(), message.signature.data(), message.signature.size());
    message.signature.resize(got > 0 ? static_cast<size_t>(got) : 0);
    message.hasSignature = got >= 0;
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
    message.text = std::move(input.text);
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
