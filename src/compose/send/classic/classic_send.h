#pragma once
// Sending as it always was: HELO and MAIL, a message with a form of its own, a copy in the Outbox; POST for articles.

#include "compose/send/send.h"

/// CheckDraft: nothing to say without a To; else there must be a recipient or group, and a profile.
Outcome ClassicCheck(Draft const &draft);

/// Send: a mail over SMTP with a copy in the profile's Outbox, an article over NNTP.
SendResult ClassicSend(Draft const &draft, SendProgress const &progress);
