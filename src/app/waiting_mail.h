#pragma once
// The mail that waits in the Outbox, in the standard way of working. In the classic way nothing waits.

#include "Ap.h"
#include "net/stream.h"

#include <string>

/// mnuFile_SendWaiting: sends what waits in the Outboxes of all mail profiles, on a worker that Stop ends.
int OnSendWaiting(PtWidget_t *widget, ApInfo_t *apinfo, PtCallbackInfo_t *cbinfo);

/// Sends what waits in one profile's Outbox, and says in lblStatus what became of it. On a worker, without locks.
void SendWaitingShown(std::string const &profile, StopPredicate const &stopped);
