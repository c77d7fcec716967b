#include "compose/send_thread.h"

#include "base/account.h"
#include "base/fd.h"
#include "base/text.h"
#include "compose/message_text.h"
#include "compose/outbox_copy.h"
#include "compose/send_smtp.h"
#include "compose/send_window.h"
#include "net/server.h"
#include "profiles/mail_profile_file.h"
#include "widgets/toolkit.h"

#include <chrono>
#include <ctime>
#include <fcntl.h>
#include <memory>
#include <pthread.h>
#include <sys/stat.h>
#include <thread>

namespace {

constexpr char kNoConnection[] = "Failed to get a socket, verify server information";
constexpr int kConnectedProgress = 2, kBodyProgress = 6;
constexpr long kLargestSignature = 1 << 20;

/// The connection, known to CancelSending for as long as it is open.
class SendSocket {
  public:
    SendSocket(ComposeState &state, int socket) : state_(state), socket_(socket) {
        std::lock_guard const lock(state_.socketLock);
        state_.sendSocket = socket;
    }
    ~SendSocket() {
        std::lock_guard const lock(state_.socketLock);
        state_.sendSocket = -1;
        socket_.Reset();
    }
    SendSocket(SendSocket const &) = delete;
    SendSocket &operator=(SendSocket const &) = delete;

  private:
    ComposeState &state_;
    Fd socket_;
};

/// Reads the profile's signature file. A file that cannot be opened or is no plain file counts as none.
void ReadSignature(ComposeState &state, MailProfile const &profile, OutgoingMessage &message) {
    if (!profile.signatureFile[0])
        return;
    Fd const file(open(profile.signatureFile, O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    struct stat status;
    if (!file.Valid() || fstat(file.Get(), &status) != 0 || !S_ISREG(status.st_mode))
        return;
    if (status.st_size > kLargestSignature) {
        AlertSender(state, std::string("The signature file ") + profile.signatureFile +
                               " is larger than 1 MB, the message goes without it");
        return;
    }
    message.signature.resize(static_cast<size_t>(status.st_size));
    long const got = ReadAll(file.Get(), message.signature.data(), message.signature.size());
    message.signature.resize(got > 0 ? static_cast<size_t>(got) : 0);
    message.hasSignature = got >= 0;
}

void FillMessage(OutgoingMessage &message, SendInput &input, MailProfile const &profile) {
    time_t const now = time(nullptr);
    message.date = DateText(now);
    message.boundary = BoundaryText(now);
    message.fullName = FieldValue(profile.fullName);
    message.address = FieldValue(profile.emailAddress);
    message.to = FieldValue(input.to);
    message.cc = FieldValue(input.cc);
    message.subject = FieldValue(input.subject);
    message.text = std::move(input.text);
}

/// Sends one mail, from the reservation of its copy to the last alert.
class MailSending {
  public:
    MailSending(ComposeState &state, OutgoingMessage const &message, MailProfile const &profile)
        : state_(state), message_(message), profile_(profile), copy_(profile.name) {}

    void Run(std::vector<std::string> recipients) {
        bool connected = false;
        SmtpEnd end = SmtpEnd::kLost;
        int const socket = OpenServerConnection(profile_.smtpServer, kSmtp, 1, &state_.cancelled);
        if (socket > 0) {
            connected = true;
            SendSocket const published(state_, socket);
            SetSendProgress(state_, kConnectedProgress);
            end = Deliver(socket, std::move(recipients));
        }
        bool const kept = FinishCopy();
        if (end == SmtpEnd::kSent)
            CloseSentWindow(state_);
        else
            Fail(end, connected || !kept);
    }

  private:
    SmtpEnd Deliver(int socket, std::vector<std::string> recipients) {
        if (state_.cancelled)
            return SmtpEnd::kLost;
        SmtpDelivery delivery{.socket = socket,
                              .sender = message_.address,
                              .recipients = std::move(recipients),
                              .writeMessage = [&] { return Write(socket); },
                              .alert = [&](std::string const &text) { AlertSender(state_, text); },
                              .cancelled = state_.cancelled};
        SmtpEnd const end = DeliverOverSmtp(delivery);
        dotSent_ = delivery.finalDotSent;
        answer_ = std::move(delivery.answer);
        return end;
    }

    /// Writes the message to the connection (-1: none) and into the copy.
    bool Write(int socket) {
        written_ = true;
        MessageSink sink(socket, copy_.Descriptor(), state_.cancelled);
        WriteMessageHeaders(message_, sink);
        int shown = kBodyProgress;
        if (socket > 0)
            SetSendProgress(state_, shown);
        WriteMessageBody(message_, sink, [&](int percent) {
            if (socket > 0 && std::exchange(shown, percent) != percent)
                SetSendProgress(state_, percent);
        });
        sink.Flush();
        whole_ = !sink.CopyFailed();
        return !sink.WireFailed();
    }

    /// Keeps the copy, whole whatever became of the message, or takes it away. True when it is kept.
    bool FinishCopy() {
        if (state_.cancelled && !dotSent_) {
            copy_.Remove();
            return false;
        }
        if (!written_)
            Write(-1);
        // A cancel may have come while the rest was written.
        if (state_.cancelled && !dotSent_)
            whole_ = false;
        if (whole_ && copy_.Keep())
            return true;
        copy_.Remove();
        if (!state_.cancelled)
            SetStatus("The message could not be copied into the Outbox");
        return false;
    }

    void Fail(SmtpEnd end, bool giveBack) {
        AlertSender(state_, end == SmtpEnd::kRefused ? answer_ : kNoConnection);
        if (giveBack)
            ShowEditing(state_);
    }

    ComposeState &state_;
    OutgoingMessage const &message_;
    MailProfile const &profile_;
    OutboxCopy copy_;
    bool written_ = false, whole_ = true, dotSent_ = false;
    std::string answer_;
};

void SendMail(ComposeState &state, SendInput &input) {
    std::vector<std::string> recipients = RecipientsOf(FieldValue(input.to));
    if (recipients.empty()) {
        AlertSender(state, "There is nobody in the To field that the message could be sent to");
        return;
    }
    if (!IsPlainName(input.profile)) {
        AlertSender(state, "Please select an email profile");
        return;
    }
    std::vector<std::string> const copies = RecipientsOf(FieldValue(input.cc));
    recipients.insert(recipients.end(), copies.begin(), copies.end());
    ShowSending(state);
    AccountRef<MailProfile> const profile(new MailProfile);
    ReadMailProfile(input.profile.c_str(), *profile);
    CopyText(profile->name, input.profile);
    OutgoingMessage message;
    FillMessage(message, input, *profile);
    ReadSignature(state, *profile, message);
    AttachmentLoan const attachments(state);
    message.parts = attachments.Parts();
    MailSending(state, message, *profile).Run(std::move(recipients));
}

struct SendStart {
    ComposeState *state;
    bool waits; ///< an earlier thread of the window, cancelled by now, ends first
};

void WaitForTurn(ComposeState &state) {
    while (state.sending.exchange(true))
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    ToolkitGuard const guard;
    // Without a window the cancel was meant for this thread too.
    if (state.window)
        state.cancelled = false;
}

void *RunSend(void *argument) {
    SendStart const start = *std::unique_ptr<SendStart>(static_cast<SendStart *>(argument));
    if (start.waits)
        WaitForTurn(*start.state);
    SendEmailThread(start.state);
    start.state->sending = false;
    ReleaseCompose(start.state);
    return nullptr;
}

bool StartThread(SendStart const &start) {
    auto argument = std::make_unique<SendStart>(start);
    RetainCompose(start.state); // given back by the thread, or by the caller when there is none
    pthread_attr_t attributes;
    if (pthread_attr_init(&attributes) != 0)
        return false;
    pthread_attr_setdetachstate(&attributes, PTHREAD_CREATE_DETACHED);
    pthread_t thread;
    bool const started = pthread_create(&thread, &attributes, RunSend, argument.get()) == 0;
    if (started)
        static_cast<void>(argument.release()); // the thread frees it
    pthread_attr_destroy(&attributes);
    return started;
}

} // namespace

int SendEmailThread(ComposeState *state) {
    SendInput input;
    if (!ReadSendInput(*state, input) || input.to.empty())
        return 0;
    // Articles go to a news server with POST; until they do, nothing must look as if it had been sent.
    if (state->kind == kComposeNews)
        AlertSender(*state, "Posting to newsgroups is not possible yet");
    else
        SendMail(*state, input);
    return 0;
}

int OnSend(PtWidget_t *, void *data, PtCallbackInfo_t *) {
    auto *const state = static_cast<ComposeState *>(data);
    bool const waits = state->sending.exchange(true);
    if (waits)
        CancelSending(*state);
    else
        state->cancelled = false;
    if (StartThread({state, waits}))
        return Pt_CONTINUE;
    if (!waits)
        state->sending = false;
    AlertSender(*state, "The message could not be sent: no thread could be started");
    ReleaseCompose(state);
    return Pt_CONTINUE;
}
