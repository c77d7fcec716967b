#pragma once
// The page of the selected message.

#include "Ap.h"

/// Selection of a row of treeMessageHeaders, by a click or a key: fetches the message, writes its page and shows it.
/// Returns -1 when no connection to the server could be had.
int OnHeaderSelected(PtWidget_t *widget, ApInfo_t *apinfo, PtCallbackInfo_t *cbinfo);

/// Unrealized callback of treeMessageHeaders.
int OnHeadersGone(PtWidget_t *widget, ApInfo_t *apinfo, PtCallbackInfo_t *cbinfo);

/// btnHome: no message is shown any more.
int OnHome(PtWidget_t *widget, ApInfo_t *apinfo, PtCallbackInfo_t *cbinfo);

/// A link of the page was pointed at: shows where it leads.
int OnLinkPointed(PtWidget_t *widget, ApInfo_t *apinfo, PtCallbackInfo_t *cbinfo);

/// Empties the attachment list and shows the home page. Under the library lock.
void LeaveMessage();
