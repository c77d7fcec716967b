#pragma once
// The widgets that nobody may use during a check: a click into the trees would change what the check fills.
// Private to this folder.

/// Blocks the profile tree, the header list and the check control. Under the library lock, once per check.
void BlockCheckWidgets();

/// Unblocks them when no other check is running. Any thread; more calls than blocks do no harm.
void UnblockCheckWidgets();
