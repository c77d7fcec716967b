#include "compose/reply.h"

#include "compose/background_parts.h"
#include "compose/compose_window.h"
#include "compose/forward_part.h"
#include "compose/plain_text.h"
#include "compose/quote.h"
#include "compose/references.h"
#include "message/shown_message.h"
#include "mime/headers.h"
#include "profiles/profile_tree.h"
#include "widgets/open_profile.h"
#include "widgets/toolkit.h"

#include <memory>
#include <string>
#include <vector>

namespace {

/// What other people wrote is shown whole, or not taken over.
void SetField(PtWidget_t *field, std::string const &text) { SetWidgetText(field, PlainLine(text).c_str()); }

void FillRecipients(ComposeState &state, ParsedHeaders const &headers) {
    ServerAccount const *const account = ChosenAccount(state);
    char const *const own = account ? account->emailAddress : "";
    SetField(state.toField, AddRecipients(headers.from, headers.to, own, true));
    SetField(state.ccField, AddRecipients("", headers.cc, own, false));
}

/// An author who wants no answer in the group gets a mail, when there is a profile to send it with.
ComposeKind ReplyKind(std::string_view article) {
    ComposeKind const kind = CurrentComposeKind();
    bool const mail = kind == kComposeNews && ReplyGroups(article) == "poster" && HasProfileFor(kComposeReply);
    return mail ? kComposeReply : kind;
}

/// An article is answered in its groups. Nothing is filled in against its author's wish.
void FillGroups(ComposeState &state, std::string const &article) {
    std::string const groups = ReplyGroups(article);
    if (groups == "poster")
        SetStatus("The author asks for an answer by mail");
    else
        SetField(state.toField, groups);
    state.references = ReplyReferences(article);
}

/// The answer to the author of an article is for the author only.
void FillAuthor(ComposeState &state, std::string const &article) {
    std::string const replyTo = UnfoldedField(article, "Reply-To");
    SetField(state.toField, replyTo.empty() ? UnfoldedField(article, "From") : replyTo);
}

void QuoteInto(ComposeState &state, ShownMessage const &message) {
    SetWidgetText(state.messageText, QuotePage(PageText(message)).c_str());
    PtSetResource(state.messageText, Pt_ARG_CURSOR_POSITION, 0, 0);
}

/// The parts lie in the shown message, which each of them holds until it is encoded.
void CarryAttachments(ComposeState &state, ShownMessageRef const &message) {
    std::vector<PartToMake> parts;
    for (ShownPart const &shown : message->parts)
        parts.push_back({shown.label, [message, &shown] { return ForwardedPart(shown.part); }});
    AddPartsInBackground(state, std::move(parts));
}

} // namespace

int OnReply(PtWidget_t *, ApInfo_t *, PtCallbackInfo_t *) {
    ShownMessageRef const message = ChosenMessage();
    if (!message)
        return Pt_CONTINUE;
    ComposeKind const kind = ReplyKind(message->source);
    ComposeState *const state = CreateComposeWindow(kind);
    if (!state)
        return Pt_CONTINUE;
    auto const headers = std::make_unique<ParsedHeaders>();
    ParseHeaders(message->source.c_str(), *headers);
    if (kind == kComposeNews)
        FillGroups(*state, message->source);
    else if (message->row.origin == kArticle)
        FillAuthor(*state, message->source);
    else
        FillRecipients(*state, *headers);
    SetField(state->subjectField, ReplySubject(headers->subject));
    QuoteInto(*state, *message);
    ShowComposeWindow(*state, "Reply...");
    return Pt_CONTINUE;
}

int OnForward(PtWidget_t *, ApInfo_t *, PtCallbackInfo_t *) {
    ShownMessageRef const message = ChosenMessage();
    ComposeState *const state = message ? CreateComposeWindow(CurrentComposeKind()) : nullptr;
    if (!state)
        return Pt_CONTINUE;
    ComposeHold const hold(state);
    auto const headers = std::make_unique<ParsedHeaders>();
    ParseHeaders(message->source.c_str(), *headers);
    SetField(state->subjectField, ForwardSubject(headers->subject));
    QuoteInto(*state, *message);
    ShowComposeWindow(*state, "Forward...");
    CarryAttachments(*state, message);
    return Pt_CONTINUE;
}
