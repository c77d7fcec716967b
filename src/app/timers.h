#pragma once
// Checking for mail now and then, keeping connections alive, turning the star.

#include "Ap.h"

/// btnCheckEmail: checks the open mail profile at once, with none open the first one. In an open newsgroup the next
/// headers are downloaded.
int OnCheckEmail(PtWidget_t *widget, ApInfo_t *apinfo, PtCallbackInfo_t *cbinfo);

/// btnStop: ends everything that runs, at once.
int OnStop(PtWidget_t *widget, ApInfo_t *apinfo, PtCallbackInfo_t *cbinfo);

/// The Escape key in the main window: the same.
int OnStopKey(PtWidget_t *widget, void *data, PtCallbackInfo_t *cbinfo);

/// timerCheckEmail, every 5 s: checks when the open profile's interval has passed and its Inbox is shown.
int OnCheckEmailTimer(PtWidget_t *widget, ApInfo_t *apinfo, PtCallbackInfo_t *cbinfo);

/// timerNoop: NOOP (RFC 1939 5) on every idle connection, each on a worker; one that does not answer within 10 s is
/// closed.
int OnNoopTimer(PtWidget_t *widget, ApInfo_t *apinfo, PtCallbackInfo_t *cbinfo);

/// timerAnimation: the next of the star's four frames.
int OnAnimationTimer(PtWidget_t *widget, ApInfo_t *apinfo, PtCallbackInfo_t *cbinfo);
