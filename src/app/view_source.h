#pragma once
// The small dialogs: the shown message's source, and about the program.

#include "Ap.h"

/// Realized callback of dlgViewSource: shows the raw text of the message shown last, when its row is selected. Of a
/// long one (TextPart) the first part comes, with a sentence that says so.
int OnViewSourceRealized(PtWidget_t *widget, ApInfo_t *apinfo, PtCallbackInfo_t *cbinfo);

/// Activate callback of btnNextSourcePart: shows the next part; after the last one the first.
int OnNextSourcePart(PtWidget_t *widget, ApInfo_t *apinfo, PtCallbackInfo_t *cbinfo);

/// Destroyed callback of dlgViewSource: lets go of the message.
int OnViewSourceGone(PtWidget_t *widget, ApInfo_t *apinfo, PtCallbackInfo_t *cbinfo);

/// Realized callback of dlgAbout: the program's name and version.
int OnAboutRealized(PtWidget_t *widget, ApInfo_t *apinfo, PtCallbackInfo_t *cbinfo);
