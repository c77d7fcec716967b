#pragma once
// The thread that sends the message of a compose window.

#include "compose/compose_state.h"

/// Sends what the window holds and closes the window, or gives it back with an alert. Runs on a thread of its own,
/// outside the library; the caller holds a reference to the state. Returns 0.
int SendEmailThread(ComposeState *state);

/// Callback of "pic_btnSend": starts SendEmailThread on a detached thread with the window's state (`data`); a sending
/// thread of the same window is cancelled first.
int OnSend(PtWidget_t *widget, void *data, PtCallbackInfo_t *cbinfo);
