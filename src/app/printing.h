#pragma once
// Printing the shown page.

#include "Ap.h"

/// mnuFile_Print: lets the user choose a printer or a file and prints the page that the message view shows.
int OnPrint(PtWidget_t *widget, ApInfo_t *apinfo, PtCallbackInfo_t *cbinfo);
