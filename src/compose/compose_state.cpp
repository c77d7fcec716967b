#include "compose/compose_state.h"

void RetainCompose(ComposeState *state) { state->holders++; }

void ReleaseCompose(ComposeState *state) {
    if (--state->holders == 0)
        delete state;
}

void CancelSending(ComposeState &state) { state.cancelled = true; }
