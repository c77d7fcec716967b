#pragma once
// The one way to start a thread that nothing waits for.

#include <functional>

/// Runs `work` on a detached thread of its own, which frees it afterwards. Returns false when the system has no
/// thread to give; nothing has run then.
bool StartDetached(std::function<void()> work);
