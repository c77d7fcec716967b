#pragma once
// The small dialogs: the shown message's source, and about the program.

#include "Ap.h"

/// Realized callback of dlgViewSource: shows the raw text of the message shown last, when its row is selected.
int OnViewSourceRealized(PtWidget_t *widget, ApInfo_t *apinfo, PtCallbackInfo_t *cbinfo);

/// Realized callback of dlgAbout: the program's name and version.
int OnAboutRealized(PtWidget_t *widget, ApInfo_t *apinfo, PtCallbackInfo_t *cbinfo);
