#pragma once
// The dialog dlgAccounts: mail profiles are made, edited and deleted here. dialog_parts.h has its two modes.

#include "Ap.h"

int OnAccountsRealized(PtWidget_t *widget, ApInfo_t *apinfo, PtCallbackInfo_t *cbinfo);
int OnAccountsListGone(PtWidget_t *widget, ApInfo_t *apinfo, PtCallbackInfo_t *cbinfo);
int OnNewAccount(PtWidget_t *widget, ApInfo_t *apinfo, PtCallbackInfo_t *cbinfo);
int OnEditAccount(PtWidget_t *widget, ApInfo_t *apinfo, PtCallbackInfo_t *cbinfo);
int OnDeleteAccount(PtWidget_t *widget, ApInfo_t *apinfo, PtCallbackInfo_t *cbinfo);

/// Saves the fields as a profile, returns to list mode, drops the open profile and fills all trees again. A file that
/// cannot be written is told in an alert; a name that is refused, too, and the fields stay. Returns -1 when the user
/// has no password entry, else Pt_CONTINUE.
int OnSaveAccount(PtWidget_t *widget, ApInfo_t *apinfo, PtCallbackInfo_t *cbinfo);
int OnCancelAccount(PtWidget_t *widget, ApInfo_t *apinfo, PtCallbackInfo_t *cbinfo);

/// Modify-verify of the name: text comes in only when its first character is an ASCII letter or digit.
int OnAccountNameVerify(PtWidget_t *widget, ApInfo_t *apinfo, PtCallbackInfo_t *cbinfo);

/// Modify-verify of the password: the change goes to HiddenPassword, the field shows asterisks.
int OnAccountPasswordVerify(PtWidget_t *widget, ApInfo_t *apinfo, PtCallbackInfo_t *cbinfo);

/// Asks for the signature file; cancelling clears the field.
int OnBrowseSignature(PtWidget_t *widget, ApInfo_t *apinfo, PtCallbackInfo_t *cbinfo);
