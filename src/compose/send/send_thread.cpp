#include "compose/send/send_thread.h"

#include "base/thread.h"
#include "compose/send/send_window.h"
#include "widgets/certificate_box.h"
#include "widgets/toolkit.h"

#include <memory>

namespace {

/// An earlier thread of the window, cancelled by now, ends first.
void WaitForTurn(ComposeState &state) {
    while (state.sending.exchange(true))
        state.sending.wait(true);
    ToolkitGuard const guard;
    // Without a window the cancel was meant for this thread too.
    if (state.window)
        state.cancelled = false;
}

SendProgress ProgressIn(ComposeState &state) {
    return {.percent = [&state](int percent) { SetSendProgress(state, percent); },
            .tell = [&state](std::string const &text) { AlertSender(state, text); },
            .stopped = [&state] { return state.cancelled.load(); },
            .accept = AskToAcceptCertificate};
}

} // namespace

int SendEmailThread(ComposeState *state) {
    Draft draft;
    if (!ReadDraft(*state, draft))
        return 0;
    if (Outcome const sendable = CheckDraft(draft); !sendable) {
        if (!sendable.text.empty())
            AlertSender(*state, sendable.text);
        return 0;
    }
    ShowSending(*state);
    SendResult result;
    {
        AttachmentLoan const attachments(*state);
        draft.parts = attachments.Parts();
        result = Send(draft, ProgressIn(*state));
    }
    ShowSendResult(*state, draft.profile, result);
    return 0;
}

int OnSend(PtWidget_t *, void *data, PtCallbackInfo_t *) {
    auto *const state = static_cast<ComposeState *>(data);
    bool const waits = state->sending.exchange(true);
    state->cancelled = waits;
    auto const hold = std::make_shared<ComposeHold>(state);
    auto const run = [hold, state, waits] {
        if (waits)
            WaitForTurn(*state);
        SendEmailThread(state);
        state->sending = false;
        state->sending.notify_one();
    };
    if (StartDetached(run))
        return Pt_CONTINUE;
    if (!waits)
        state->sending = false;
    AlertSender(*state, "The message could not be sent: no thread could be started");
    return Pt_CONTINUE;
}
