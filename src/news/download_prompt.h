#pragma once
// The dialog dlgDownloadNewsPrompt: how many headers to fetch.

#include "Ap.h"
#include "news/header_download.h"

/// Opens the dialog, modal, for a group that was opened. When it closes, its account's batchSize is set and the
/// download starts. Main thread, under the library lock.
void AskHowManyHeaders(GroupRun const &run);

int OnDownloadPromptRealized(PtWidget_t *widget, ApInfo_t *apinfo, PtCallbackInfo_t *cbinfo);
int OnDownloadPromptUnrealized(PtWidget_t *widget, ApInfo_t *apinfo, PtCallbackInfo_t *cbinfo);
