#pragma once
// Starting mail checks, and what the main window shows of them.

/// Starts a check of the open profile on a worker that Stop ends, after the alerts that a missing profile needs.
/// Called under the library lock by the check button, the timer and the opening of the Inbox.
void StartCheckMailThread();

/// Lets the widgets be used again that a check blocks, when no check is running. Any thread.
void UnblockCheckWidgets();

/// How many checks are running or waiting; the program waits for none at its end.
int RunningChecks();
