#pragma once
// Adding and deleting folders, from the menus of the profile tree. Both work on its selected item.

#include "Ap.h"

#include <string_view>

/// Asks for a name and makes the folder in the selected mail profile. A name that cannot be a directory's, or one
/// that is taken, is refused with an alert.
int OnAddFolder(PtWidget_t *widget, ApInfo_t *apinfo, PtCallbackInfo_t *cbinfo);

/// Asks, then removes the selected folder with all its messages.
int OnDeleteFolder(PtWidget_t *widget, ApInfo_t *apinfo, PtCallbackInfo_t *cbinfo);

/// False for the folders that every profile has: Inbox, Saved and Outbox.
bool IsDeletableFolder(std::string_view folder);
