#pragma once
// Sending the message of a compose window: over SMTP with a copy in the profile's Outbox. News articles are to be
// posted from here as well.

#include "compose/compose_state.h"

/// Sends what the window holds and closes it, or gives it back to its person with an alert. Runs on a thread of its
/// own, outside the library; the caller holds a reference to the state. A copy is reserved in the Outbox before
/// connecting and kept whole whatever fails after that; only a cancel before the message's final dot takes it away
/// again. Returns 0.
int SendEmailThread(ComposeState *state);
