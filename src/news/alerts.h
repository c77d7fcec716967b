#pragma once
// What a session leaves to the window: its alerts.

#include "news/session/nntp.h"

/// Shows the alerts of an operation, one after another, titled "Error". The library lock is taken for them when the
/// caller does not hold it; others have it while they are open.
void ShowAlerts(NewsOutcome const &outcome);
