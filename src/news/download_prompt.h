#pragma once
// The dialog dlgDownloadNewsPrompt: how many headers to fetch.

#include "Ap.h"
#include "base/account.h"

/// Opens the dialog, modal, for the group that `profile` has selected. When it closes, batchSize is set and the
/// download starts. Main thread, under the library lock.
void AskHowManyHeaders(NewsProfile &profile);

int OnDownloadPromptRealized(PtWidget_t *widget, ApInfo_t *apinfo, PtCallbackInfo_t *cbinfo);
int OnDownloadPromptUnrealized(PtWidget_t *widget, ApInfo_t *apinfo, PtCallbackInfo_t *cbinfo);
