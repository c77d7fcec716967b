#pragma once
// Deleting, copying and moving the current message.

#include "Ap.h"

/// Deletes the current row's message from its folder or from the server, without a question. In a news group nothing
/// happens. Returns -1 when no connection to the server could be had.
int OnDeleteMessage(PtWidget_t *widget, ApInfo_t *apinfo, PtCallbackInfo_t *cbinfo);

/// The Delete key on the header list.
int OnDeleteKey(PtWidget_t *widget, void *data, PtCallbackInfo_t *cbinfo);

/// Stores the current row's message in `folder` of the open profile; with `move` it is deleted where it was, once it
/// is safely stored. Moving a stored message into its own folder does nothing. A failure is told in lblStatus.
/// Under the library lock.
void FileCurrentMessage(char const *folder, bool move);
