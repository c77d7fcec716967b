#pragma once
// The dialog dlgNewsAccounts: news profiles are made, edited and deleted here. dialog_parts.h has its two modes.

#include "Ap.h"

int OnNewsAccountsRealized(PtWidget_t *widget, ApInfo_t *apinfo, PtCallbackInfo_t *cbinfo);
int OnNewNewsAccount(PtWidget_t *widget, ApInfo_t *apinfo, PtCallbackInfo_t *cbinfo);
/// Shows the selected profile's fields; does nothing when none is selected.
int OnEditNewsAccount(PtWidget_t *widget, ApInfo_t *apinfo, PtCallbackInfo_t *cbinfo);
/// Returns -1 when the user has no password entry.
int OnDeleteNewsAccount(PtWidget_t *widget, ApInfo_t *apinfo, PtCallbackInfo_t *cbinfo);

/// Saves the fields as a profile with its directories, returns to list mode, drops the open profile and fills all
/// trees again. What cannot be saved is told in an alert and stays in the fields. Returns -1 when the user has no
/// password entry, else Pt_CONTINUE.
int OnSaveNewsAccount(PtWidget_t *widget, ApInfo_t *apinfo, PtCallbackInfo_t *cbinfo);
int OnCancelNewsAccount(PtWidget_t *widget, ApInfo_t *apinfo, PtCallbackInfo_t *cbinfo);

/// Modify-verify of the password: the change goes to HiddenNewsPassword, the field shows asterisks.
int OnNewsPasswordVerify(PtWidget_t *widget, ApInfo_t *apinfo, PtCallbackInfo_t *cbinfo);

/// Asks for the signature file; cancelling clears the field.
int OnBrowseNewsSignature(PtWidget_t *widget, ApInfo_t *apinfo, PtCallbackInfo_t *cbinfo);
