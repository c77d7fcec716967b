#pragma once
// The star that turns while any network activity runs. All calls under the library lock.

#include "Ap.h"

/// The picture module picEmailWidgets (the images of the star among others). Opened once at start-up, never closed;
/// null before.
extern ApDBase_t *EmailWidgetsDb;

/// Running activities; never below 0 after an end.
extern int ActivityCount;

/// One more activity: the star turns.
void BeginActivity();

/// One less; at none the idle star is shown.
void EndActivity();

/// Shows the image `name` ("lblStar0" idle, "lblStar1" to "lblStar4" the frames) on the star label, when both exist.
void ShowStar(char const *name);
