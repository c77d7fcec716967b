#pragma once
// Opening a folder into the header list.

#include "Ap.h"

/// Selection of an item of treeProfiles. Acts on a finished single click only: opens the folder, or a profile's
/// Inbox, and checks for mail when the Inbox was newly opened. A newsgroup's headers are downloaded, with every click
/// the next ones; a news profile by itself has nothing to show.
int OnProfileSelected(PtWidget_t *widget, ApInfo_t *apinfo, PtCallbackInfo_t *cbinfo);

/// Return or Space in treeProfiles: the same for its selected item, since the callback above heeds clicks alone.
int OnProfileKey(PtWidget_t *tree, void *data, PtCallbackInfo_t *cbinfo);

/// The menu's "Un/Subscribe" on a news profile: leaves what is open, makes the profile the open one, without a group,
/// and opens dlgNews for it.
int OnSubscribe(PtWidget_t *widget, ApInfo_t *apinfo, PtCallbackInfo_t *cbinfo);

/// Destroyed callback of treeProfiles.
int OnProfilesDestroyed(PtWidget_t *widget, ApInfo_t *apinfo, PtCallbackInfo_t *cbinfo);
