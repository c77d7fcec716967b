#pragma once
// The attachment list of a compose window. All calls under the library lock; `data` of a callback is the window's
// ComposeState.

#include "Pt.h"
#include "compose/compose_state.h"
#include "mime/part_headers.h"

/// Appends a part, whose body is encoded, to the list under `label`; the list owns it from then on. False, with the
/// part freed, when the window was closed or memory is out.
bool AddAttachedPart(ComposeState &state, char const *label, PartHeaders *part);

/// Frees the parts and items of the list.
void FreeAttachedFiles(ComposeState &state);

/// pic_btnAttachment: asks for a file of at most 1 GiB; a thread reads and encodes it while the window stays alive. A
/// file that cannot be read whole is named in an alert.
int OnAttachFile(PtWidget_t *widget, void *data, PtCallbackInfo_t *cbinfo);

/// Menu callback of the list: the menu of the current item.
int OnAttachedFilesMenu(PtWidget_t *widget, void *data, PtCallbackInfo_t *cbinfo);

/// The Delete key: takes the current item out of the list.
int OnRemoveAttachedFile(PtWidget_t *widget, void *data, PtCallbackInfo_t *cbinfo);
