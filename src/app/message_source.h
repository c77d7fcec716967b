#pragma once
// The text of a message, wherever it lives.

#include "base/account.h"
#include "base/outcome.h"
#include "widgets/header_list.h"
#include "widgets/operation.h"

#include <string>

struct FetchedText {
    Outcome outcome;
    std::string text = {}; ///< all bytes of the message, which may hold NULs; only with kDone
    bool reached = true;   ///< false when no connection could be had to ask for it
    bool whole = true;     ///< false when more of it may be on the server: it must not be deleted there
};

/// The text of message `number` in a local folder. kFailed: it cannot be read. Any thread.
FetchedText StoredText(std::string const &profile, std::string const &folder, int32_t number);

/// The text of the message that a row stands for, from its folder, its mail server or its news server; an article as
/// its author wrote it, without the end mark and the doubled dots that it is sent with. A row that was renumbered
/// since then is fetched with its new number. On a worker, without locks. Outcomes: kDone; kRefused in the server's
/// words; kLost; kFailed; kStopped when stopped, and when the row was removed.
FetchedText FetchText(RowIdentity const &row, Stop const &stop);

/// FetchText of a message on the mail server, for a caller that holds the account's sessionLock.
FetchedText ServerText(MailProfile &profile, int32_t number, Stop const &stop);

/// The number that a row of the server has now; 0 when it was removed. Takes the library lock. The numbers change
/// under the account's sessionLock only.
int32_t NumberNow(RowIdentity const &row);
