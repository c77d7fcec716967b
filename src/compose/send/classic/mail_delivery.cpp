#include "compose/send/classic/mail_delivery.h"

#include "base/text.h"
#include "compose/send/classic/smtp_dialogue.h"
#include "profiles/mail_profile_file.h"

MailDelivery::MailDelivery(Draft const &draft, SendProgress const &progress)
    : Delivery(draft, progress), profile_(new MailProfile), copy_(draft.profile) {
    ReadMailProfile(draft.profile.c_str(), *profile_);
    FillMessage(*profile_);
}

Outcome MailDelivery::Talk(Stream &stream) {
    SmtpDelivery delivery{.stream = stream,
                          .sender = message_.address,
                          .recipients = RecipientsOf(message_.to),
                          .writeMessage = [&] { return WriteWithCopy(&stream); },
                          .tell = progress_.tell};
    for (std::string &recipient : RecipientsOf(message_.cc))
        delivery.recipients.push_back(std::move(recipient));
    Outcome outcome = DeliverOverSmtp(delivery);
    finalDotSent_ = delivery.finalDotSent;
    return outcome;
}

bool MailDelivery::WriteWithCopy(Stream *wire) {
    written_ = true;
    Written const written = Write(wire, copy_.Descriptor());
    copyIsWhole_ = written.file;
    return written.wire;
}

void MailDelivery::Finish(SendResult &result) {
    // From the final dot on the server may have the message.
    auto const takeBack = [this] { return IsStopped() && !finalDotSent_; };
    if (!takeBack() && !written_)
        WriteWithCopy(nullptr);
    result.outbox.number = copy_.Number();
    bool const kept = !takeBack() && copyIsWhole_ && copy_.Keep(result.outbox.row);
    copy_.Remove();
    if (!kept && !IsStopped())
        result.status = "The message could not be copied into the Outbox";
}
