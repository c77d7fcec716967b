#include "compose/send/classic/classic_send.h"

#include "base/text.h"
#include "compose/send/classic/mail_delivery.h"
#include "compose/send/classic/news_delivery.h"
#include "compose/send/classic/outgoing_message.h"
#include "compose/send/classic/smtp_dialogue.h"

Outcome ClassicCheck(Draft const &draft) {
    if (draft.to.empty())
        return Failed("");
    if (draft.article ? GroupList(draft.to).empty() : RecipientsOf(FieldValue(draft.to)).empty())
        return Failed(draft.article ? "There is no group in the Group field that the message could be posted to"
                                    : "There is no recipient in the To field that the message could be sent to");
    if (!IsPlainName(draft.profile))
        return Failed(draft.article ? "Please select a newsgroup profile" : "Please select an email profile");
    return {};
}

SendResult ClassicSend(Draft const &draft, SendProgress const &progress) {
    if (draft.article)
        return NewsDelivery(draft, progress).Run();
    return MailDelivery(draft, progress).Run();
}
