#include "compose/send/send_thread.h"

#include "compose/send/send_mail.h"
#include "compose/send/send_news.h"
#include "compose/send/send_window.h"
#include "widgets/toolkit.h"

#include <chrono>
#include <memory>
#include <pthread.h>
#include <thread>

namespace {

struct SendStart {
    ComposeState *state;
    bool waits; ///< an earlier thread of the window, cancelled by now, ends first
};

void WaitForTurn(ComposeState &state) {
    while (state.sending.exchange(true))
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    ToolkitGuard const guard;
    // Without a window the cancel was meant for this thread too.
    if (state.window)
        state.cancelled = false;
}

void *RunSend(void *argument) {
    SendStart const start = *std::unique_ptr<SendStart>(static_cast<SendStart *>(argument));
    if (start.waits)
        WaitForTurn(*start.state);
    SendEmailThread(start.state);
    start.state->sending = false;
    ReleaseCompose(start.state);
    return nullptr;
}

bool StartThread(SendStart const &start) {
    auto argument = std::make_unique<SendStart>(start);
    RetainCompose(start.state); // given back by the thread, or by the caller when there is none
    pthread_attr_t attributes;
    if (pthread_attr_init(&attributes) != 0)
        return false;
    pthread_attr_setdetachstate(&attributes, PTHREAD_CREATE_DETACHED);
    pthread_t thread;
    bool const started = pthread_create(&thread, &attributes, RunSend, argument.get()) == 0;
    if (started)
        static_cast<void>(argument.release()); // the thread frees it
    pthread_attr_destroy(&attributes);
    return started;
}

} // namespace

int SendEmailThread(ComposeState *state) {
    SendInput input;
    if (!ReadSendInput(*state, input) || input.to.empty())
        return 0;
    if (state->kind == kComposeNews)
        PostArticle(*state, input);
    else
        SendMail(*state, input);
    return 0;
}

int OnSend(PtWidget_t *, void *data, PtCallbackInfo_t *) {
    auto *const state = static_cast<ComposeState *>(data);
    bool const waits = state->sending.exchange(true);
    if (waits)
        CancelSending(*state);
    else
        state->cancelled = false;
    if (StartThread({state, waits}))
        return Pt_CONTINUE;
    if (!waits)
        state->sending = false;
    AlertSender(*state, "The message could not be sent: no thread could be started");
    ReleaseCompose(state);
    return Pt_CONTINUE;
}
