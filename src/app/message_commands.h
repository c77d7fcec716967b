#pragma once
// Deleting, copying and moving the selected message. Nothing happens without a selected row, and in a news group.
// What a server must be asked for runs on a worker: its row is marked and lblStatus says what is done; another row
// may be chosen until then. A failure is told in lblStatus, in the server's words when it has some, and leaves the
// row.

#include "Ap.h"

/// Deletes the selected row's message from its folder or from the server, without a question. No row is selected
/// afterwards. Returns Pt_CONTINUE: a worker finds out too late that no connection can be had for the callback to
/// answer -1.
int OnDeleteMessage(PtWidget_t *widget, ApInfo_t *apinfo, PtCallbackInfo_t *cbinfo);

/// The Delete key on the header list.
int OnDeleteKey(PtWidget_t *widget, void *data, PtCallbackInfo_t *cbinfo);

/// Stores the selected row's message in `folder` of the open profile; with `move` it is deleted where it was, once it
/// is safely stored. Moving a stored message into its own folder does nothing. Under the library lock.
void FileSelectedMessage(char const *folder, bool move);
