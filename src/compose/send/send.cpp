#include "compose/send/send.h"

#include "compose/send/classic/classic_send.h"
#include "compose/send/standard/standard_send.h"

namespace {

Outcome (*checkMail)(Draft const &) = ClassicCheck;
SendResult (*sendMail)(Draft const &, SendProgress const &) = ClassicSend;

} // namespace

void SendTheStandardWay() {
    checkMail = StandardCheck;
    sendMail = StandardSend;
}

Outcome CheckDraft(Draft const &draft) { return draft.article ? ClassicCheck(draft) : checkMail(draft); }

SendResult Send(Draft const &draft, SendProgress const &progress) {
    return draft.article ? ClassicSend(draft, progress) : sendMail(draft, progress);
}
