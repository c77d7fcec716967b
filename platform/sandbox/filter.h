#pragma once
// Lists of the system calls that a process may make from now on (seccomp); any other ends it with SIGSYS.

#include <linux/filter.h>
#include <vector>

namespace sandbox {

/// A list as the kernel takes it; empty when it could not be made.
using Filter = std::vector<sock_filter>;

/// For the server itself: it opens what Landlock leaves it, forks, makes memory files, and shuts its workers in.
Filter ServerFilter();
/// For a worker: reading and writing of what it has, memory, time, exit.
Filter WorkerFilter();

/// Puts the list on this process and all that it will fork, for good. Wants no_new_privs. False when it is empty or
/// the kernel has no seccomp.
bool EnterFilter(Filter const &filter);

} // namespace sandbox
