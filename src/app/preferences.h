#pragma once
// The dialog dlgPreferences: what settings.toml says, changed for the next start.

#include "Ap.h"

/// Shows the settings. A file that is no TOML cannot be changed here: the dialog says what is wrong with it.
int OnPreferencesRealized(PtWidget_t *widget, ApInfo_t *apinfo, PtCallbackInfo_t *cbinfo);

/// Writes the settings; a failure is told in lblStatus.
int OnSavePreferences(PtWidget_t *widget, ApInfo_t *apinfo, PtCallbackInfo_t *cbinfo);
