#pragma once
// Answering and passing on the shown message.

#include "Ap.h"

/// btnReply: a compose window with the recipients, the subject and the quoted text of the shown message. Does nothing
/// without one.
int OnReply(PtWidget_t *widget, ApInfo_t *apinfo, PtCallbackInfo_t *cbinfo);

/// btnForward: a compose window with the subject, the quoted text and the attachments of the shown message. Does
/// nothing without one.
int OnForward(PtWidget_t *widget, ApInfo_t *apinfo, PtCallbackInfo_t *cbinfo);
