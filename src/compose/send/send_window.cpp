#include "compose/send/send_window.h"

#include "compose/compose_window.h"
#include "compose/send/outbox_list.h"
#include "mime/part_content.h"
#include "names/widgets.h"
#include "widgets/toolkit.h"

namespace {

/// Blocks or unblocks all that the user could change the message with, and resizes the window. Nothing is on its
/// way yet, or not any more: the progress bar is empty.
void SetSending(ComposeState &state, bool sending) {
    ToolkitGuard const guard;
    if (!state.window)
        return;
    for (PtWidget_t *widget :
         {state.toField, state.ccField, state.subjectField, state.messageText, state.attachmentList, state.sendButton,
          state.attachButton, state.profileChooser, state.toBookButton, state.ccBookButton})
        if (widget)
            PtSetResource(widget, Pt_ARG_FLAGS, sending ? Pt_TRUE : Pt_FALSE, Pt_BLOCKED | Pt_GHOST);
    PtSetResource(state.progressBar, Pt_ARG_GAUGE_VALUE, 0, 0);
    PtSetResource(state.window, Pt_ARG_DIM, sending ? &kSendingSize : &kComposeSize, 0);
    PtFlush();
}

PtTreeItem_t *Next(PtTreeItem_t const *item) { return reinterpret_cast<PtTreeItem_t *>(item->gen.brother); }

PtTreeItem_t *FirstItem(ComposeState const &state) {
    return state.attachmentList ? PtTreeRootItem(state.attachmentList) : nullptr;
}

} // namespace

bool ReadDraft(ComposeState &state, Draft &draft) {
    ToolkitGuard const guard;
    if (!state.window)
        return false;
    draft = {.article = state.kind == kComposeNews,
             .profile = WidgetText(state.profileChooser),
             .to = WidgetText(state.toField),
             .cc = WidgetText(state.ccField),
             .bcc = {},
             .subject = WidgetText(state.subjectField),
             .text = WidgetText(state.messageText),
             .references = state.references,
             .parts = {}};
    return true;
}

AttachmentLoan::AttachmentLoan(ComposeState &state) : state_(state) {
    ToolkitGuard const guard;
    for (PtTreeItem_t *item = FirstItem(state); item; item = Next(item))
        if (item->data)
            taken_.emplace_back(item, static_cast<PartHeaders *>(std::exchange(item->data, nullptr)));
}

AttachmentLoan::~AttachmentLoan() {
    ToolkitGuard const guard;
    // The items keep their order, so one pass over both finds each that is left.
    PtTreeItem_t *item = FirstItem(state_);
    for (auto &[owner, part] : taken_) {
        PtTreeItem_t *found = item;
        while (found && found != owner)
            found = Next(found);
        if (found && !found->data) {
            found->data = std::exchange(part, nullptr);
            item = Next(found);
        }
        FreePart(part);
    }
}

std::vector<PartHeaders const *> AttachmentLoan::Parts() const {
    std::vector<PartHeaders const *> parts;
    for (auto const &[owner, part] : taken_)
        parts.push_back(part);
    return parts;
}

void ShowSending(ComposeState &state) { SetSending(state, true); }

void SetSendProgress(ComposeState &state, int percent) {
    ToolkitGuard const guard;
    if (state.progressBar)
        PtSetResource(state.progressBar, Pt_ARG_GAUGE_VALUE, percent, 0);
}

void AlertSender(ComposeState &state, std::string const &text) {
    ToolkitGuard const guard;
    if (!state.cancelled)
        ShowError(state.window ? state.window : ABW_base, "Error", text.c_str());
}

void ShowSendResult(ComposeState &state, std::string const &profile, SendResult const &result) {
    ShowOutboxChange(profile, result.outbox);
    if (!result.status.empty())
        SetStatus(result.status);
    if (!result.outcome)
        AlertSender(state, result.outcome.text);
    if (!result.outcome && !result.textIsSafe)
        return SetSending(state, false);
    ToolkitGuard const guard;
    state.sent = true;
    if (state.window)
        PtDestroyWidget(state.window);
}
