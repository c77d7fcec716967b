#pragma once
// The face of sending: a draft in, an outcome out. It knows no windows; send_thread and send_window have those.

#include "base/outcome.h"
#include "mime/part_headers.h"

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

/// A mail or an article as it was written, the fields as typed.
struct Draft {
    bool article = false; ///< to be posted to groups; else a mail
    std::string profile;  ///< the name of the account it goes out from
    std::string to;       ///< for an article its groups
    std::string cc, bcc, subject, text;
    std::string references;                 ///< what the article answers
    std::vector<PartHeaders const *> parts; ///< attachments in their order, bodies encoded; they stay the caller's
};

/// What happens on the way. Everything is called on the thread that sends, without locks.
struct SendProgress {
    std::function<void(int)> percent;
    std::function<void(std::string const &)> tell; ///< an alert; returns when it was read
    std::function<bool()> stopped;                 ///< asked at least every 0.1 s
    /// Asks the user to accept a server's certificate that did not pass; empty accepts none.
    std::function<bool(CertificateProblem const &)> accept = {};
};

/// What became of the message's copy in the Outbox, for the list that shows it.
struct OutboxChange {
    int32_t number = 0; ///< of the message; 0 when there never was one
    std::string row;    ///< the text of its row; empty when it was taken back
};

struct SendResult {
    Outcome outcome;          ///< kDone: sent. Anything else comes with the text of an alert.
    std::string status = {};  ///< for the status line; may be empty
    bool textIsSafe = false;  ///< not sent, and the window may close: `status` says where the text is
    OutboxChange outbox = {}; ///< of a mail
};

/// Binds this face to the standard way. Once, at the start; without it sending is classic.
void SendTheStandardWay();

/// Looks whether the draft can be sent at all, without doing anything. Any thread. kDone, or kFailed with a text,
/// which is empty when the user is not to be told.
Outcome CheckDraft(Draft const &draft);

/// Sends a draft that CheckDraft has passed, and keeps what could not be sent. Takes as long as the server does;
/// ends within 0.1 s of a stop. Any thread, without locks.
SendResult Send(Draft const &draft, SendProgress const &progress);
