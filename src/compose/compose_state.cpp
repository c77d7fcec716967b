#include "compose/compose_state.h"

#include <sys/socket.h>

void RetainCompose(ComposeState *state) { state->holders++; }

void ReleaseCompose(ComposeState *state) {
    if (--state->holders == 0)
        delete state;
}

void CancelSending(ComposeState &state) {
    state.cancelled = true;
    std::lock_guard const lock(state.socketLock);
    if (int const socket = state.sendSocket; socket > 0)
        shutdown(socket, SHUT_RDWR);
}
