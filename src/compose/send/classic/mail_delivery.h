#pragma once
// A mail: over SMTP, with a copy in the Outbox that is kept whole whatever becomes of the message.

#include "compose/send/classic/delivery.h"
#include "compose/send/outbox_copy.h"

/// Sends a draft through the mail profile that it names. The copy is reserved in the Outbox before connecting; only a
/// stop before the message's final dot takes it away again.
class MailDelivery : public Delivery {
  public:
    MailDelivery(Draft const &draft, SendProgress const &progress);

  private:
    char const *Server() const override { return profile_->smtpServer; }
    ServerKind Kind() const override { return kSmtp; }
    Outcome Talk(Stream &stream) override;
    void WriteHeader(MessageSink &sink) const override { WriteMessageHeaders(message_, sink); }
    void Finish(SendResult &result) override;
    bool WriteWithCopy(Stream *wire);

    AccountRef<MailProfile> profile_;
    OutboxCopy copy_;
    bool written_ = false, copyIsWhole_ = true, finalDotSent_ = false;
};
