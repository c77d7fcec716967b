#pragma once
// The dialog dlgNews: the server's groups, the subscribed ones, search, and subscribing with a click.

#include "Ap.h"

int OnNewsRealized(PtWidget_t *widget, ApInfo_t *apinfo, PtCallbackInfo_t *cbinfo);
int OnNewsUnrealized(PtWidget_t *widget, ApInfo_t *apinfo, PtCallbackInfo_t *cbinfo);
int OnGetNewsListing(PtWidget_t *widget, ApInfo_t *apinfo, PtCallbackInfo_t *cbinfo);
int OnNewsFind(PtWidget_t *widget, ApInfo_t *apinfo, PtCallbackInfo_t *cbinfo);
int OnShowNewsList(PtWidget_t *widget, ApInfo_t *apinfo, PtCallbackInfo_t *cbinfo);
int OnShowSubscribedNewsList(PtWidget_t *widget, ApInfo_t *apinfo, PtCallbackInfo_t *cbinfo);
int OnNewsGroupSelected(PtWidget_t *widget, ApInfo_t *apinfo, PtCallbackInfo_t *cbinfo);
