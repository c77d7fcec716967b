#include "compose/send/send_mail.h"

#include "base/text.h"
#include "compose/send/outbox_copy.h"
#include "compose/send/send_smtp.h"
#include "compose/send/sending.h"
#include "net/address.h"
#include "profiles/mail_profile_file.h"
#include "widgets/server_calls.h"
#include "widgets/toolkit.h"

namespace {

/// Sends one mail, from the reservation of its copy to the last alert.
class MailSending {
  public:
    MailSending(ComposeState &state, OutgoingMessage const &message, MailProfile const &profile)
        : state_(state), message_(message), profile_(profile), copy_(profile.name) {}

    void Run(std::vector<std::string> recipients) {
        SmtpEnd end = SmtpEnd::kLost;
        int const socket = OpenServerConnection(profile_.smtpServer, kSmtp, 1, &state_.cancelled);
        if (socket > 0) {
            SendSocket const published(state_, socket);
            SetSendProgress(state_, kConnectedProgress);
            end = Deliver(socket, std::move(recipients));
        }
        FinishCopy();
        if (end == SmtpEnd::kSent)
            CloseSentWindow(state_);
        else
            Fail(end);
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
        WriteBody(state_, message_, sink, socket > 0);
        sink.Flush();
        whole_ = !sink.CopyFailed();
        return !sink.WireFailed();
    }

    /// Keeps the copy, whole whatever became of the message, or takes it away.
    void FinishCopy() {
        if (state_.cancelled && !dotSent_)
            return copy_.Remove();
        if (!written_)
            Write(-1);
        // A cancel may have come while the rest was written.
        if (state_.cancelled && !dotSent_)
            whole_ = false;
        if (whole_ && copy_.Keep())
            return;
        copy_.Remove();
        if (!state_.cancelled)
            SetStatus("The message could not be copied into the Outbox");
    }

    void Fail(SmtpEnd end) {
        AlertSender(state_, end == SmtpEnd::kRefused ? answer_ : kNoConnection);
        ShowEditing(state_);
    }

    ComposeState &state_;
    OutgoingMessage const &message_;
    MailProfile const &profile_;
    OutboxCopy copy_;
    bool written_ = false, whole_ = true, dotSent_ = false;
    std::string answer_;
};

} // namespace

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
    FillMessage(state, message, input, *profile);
    AttachmentLoan const attachments(state);
    message.parts = attachments.Parts();
    MailSending(state, message, *profile).Run(std::move(recipients));
}
