#pragma once
// The menus under the right button and the menu key.

#include "Ap.h"

/// Menu callbacks of the trees: open the menu of the selected item; the right button has selected one before.
int OnProfileTreeMenu(PtWidget_t *widget, ApInfo_t *apinfo, PtCallbackInfo_t *cbinfo);
int OnHeaderListMenu(PtWidget_t *widget, ApInfo_t *apinfo, PtCallbackInfo_t *cbinfo);
int OnAttachmentListMenu(PtWidget_t *widget, ApInfo_t *apinfo, PtCallbackInfo_t *cbinfo);

/// Setup functions of the menu modules.
int SetUpProfileMenu(PtWidget_t *menu, ApInfo_t *apinfo, PtCallbackInfo_t *cbinfo);
int SetUpFolderMenu(PtWidget_t *menu, ApInfo_t *apinfo, PtCallbackInfo_t *cbinfo);
/// Fills the submenus "Copy To..." and "Move To..." with the folders of the open profile.
int SetUpHeadersMenu(PtWidget_t *menu, ApInfo_t *apinfo, PtCallbackInfo_t *cbinfo);
