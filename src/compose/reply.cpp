#include "compose/reply.h"

#include "base/fd.h"
#include "base/paths.h"
#include "compose/background_parts.h"
#include "compose/compose_window.h"
#include "compose/forward_part.h"
#include "compose/plain_lines.h"
#include "compose/quote.h"
#include "compose/references.h"
#include "mime/headers.h"
#include "mime/render.h"
#include "names/widgets.h"
#include "profiles/profile_tree.h"
#include "widgets/open_profile.h"
#include "widgets/toolkit.h"
#include "widgets/tree_walk.h"

#include <cstdint>
#include <fcntl.h>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace {

/// A whole file of TempDir; nothing when it cannot be read.
std::optional<std::string> ReadScratch(char const *name) {
    return ReadRegularFile(std::string(TempDir) + name, SIZE_MAX, O_NOFOLLOW);
}

bool MessageIsShown() { return TempDir[0] && ABW_treeMessageHeaders && SelectedItem(ABW_treeMessageHeaders); }

void FillRecipients(ComposeState &state, ParsedHeaders const &headers) {
    ServerAccount const *const account = ChosenAccount(state);
    char const *const own = account ? account->emailAddress : "";
    SetWidgetText(state.toField, AddRecipients(headers.from, headers.to, own, true).c_str());
    if (state.ccField)
        SetWidgetText(state.ccField, AddRecipients("", headers.cc, own, false).c_str());
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
        SetWidgetText(state.toField, groups.c_str());
    state.references = ReplyReferences(article);
}

/// The answer to the author of an article goes to no one else.
void FillAuthor(ComposeState &state, std::string const &article) {
    std::string const replyTo = UnfoldedField(article, "Reply-To");
    SetWidgetText(state.toField, (replyTo.empty() ? UnfoldedField(article, "From") : replyTo).c_str());
}

void QuoteInto(ComposeState &state) {
    if (std::optional<std::string> const page = ReadScratch("msg.html")) {
        SetWidgetText(state.messageText, PlainLines(QuotePage(*page)).c_str());
        PtSetResource(state.messageText, Pt_ARG_CURSOR_POSITION, 0, 0);
    }
}

/// The shown message may be another one before the last part is encoded, so each is copied first.
void CarryAttachments(ComposeState &state) {
    std::vector<PartToMake> parts;
    for (PtTreeItem_t *item = ABW_treeAttachments ? PtTreeRootItem(ABW_treeAttachments) : nullptr; item;
         item = BrotherOf(item)) {
        if (!item->data)
            continue;
        std::shared_ptr<PartHeaders const> const part(
            CopyPart(*static_cast<PartHeaders const *>(item->data)),
            [](PartHeaders const *copy) { FreePart(const_cast<PartHeaders *>(copy)); });
        parts.push_back({item->string, [part] { return part ? ForwardedPart(*part) : nullptr; }});
    }
    AddPartsInBackground(state, std::move(parts));
}

} // namespace

int OnReply(PtWidget_t *, ApInfo_t *, PtCallbackInfo_t *) {
    if (!MessageIsShown())
        return Pt_CONTINUE;
    std::optional<std::string> const text = ReadScratch("originalmsg");
    ComposeKind const kind = text ? ReplyKind(*text) : CurrentComposeKind();
    ComposeState *const state = CreateComposeWindow(kind);
    if (!state)
        return Pt_CONTINUE;
    if (text) {
        auto const headers = std::make_unique<ParsedHeaders>();
        ParseHeaders(text->c_str(), *headers);
        if (kind == kComposeNews)
            FillGroups(*state, *text);
        else if (CurrentNewsProfile())
            FillAuthor(*state, *text);
        else
            FillRecipients(*state, *headers);
        SetWidgetText(state->subjectField, ReplySubject(headers->subject).c_str());
        QuoteInto(*state);
    }
    ShowComposeWindow(*state, "Reply...");
    return Pt_CONTINUE;
}

int OnForward(PtWidget_t *, ApInfo_t *, PtCallbackInfo_t *) {
    ComposeState *const state = MessageIsShown() ? CreateComposeWindow(CurrentComposeKind()) : nullptr;
    if (!state)
        return Pt_CONTINUE;
    ComposeHold const hold(state);
    if (std::optional<std::string> const text = ReadScratch("originalmsg")) {
        auto const headers = std::make_unique<ParsedHeaders>();
        ParseHeaders(text->c_str(), *headers);
        SetWidgetText(state->subjectField, ForwardSubject(headers->subject).c_str());
        QuoteInto(*state);
    }
    ShowComposeWindow(*state, "Forward...");
    CarryAttachments(*state);
    return Pt_CONTINUE;
}
