#pragma once
// The page of the selected message.

#include "Ap.h"

/// Selection of a row of treeMessageHeaders, by a click or a key: fetches the message, writes its page and shows it.
/// A stored message is shown at once; one of a server is fetched by a worker, so the callback cannot answer -1 any
/// more when no connection can be had: the page stays as it is then and lblStatus says why.
int OnHeaderSelected(PtWidget_t *widget, ApInfo_t *apinfo, PtCallbackInfo_t *cbinfo);

/// Unrealized callback of treeMessageHeaders.
int OnHeadersUnrealized(PtWidget_t *widget, ApInfo_t *apinfo, PtCallbackInfo_t *cbinfo);

/// btnHome: the home page is shown in the place of the message. A fetch is given up.
int OnHome(PtWidget_t *widget, ApInfo_t *apinfo, PtCallbackInfo_t *cbinfo);

/// A link of the page was pointed at: shows where it leads.
int OnLinkPointed(PtWidget_t *widget, ApInfo_t *apinfo, PtCallbackInfo_t *cbinfo);

/// Gives up a fetch, empties the attachment list and shows the home page. Under the library lock.
void LeaveMessage();
