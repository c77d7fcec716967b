#pragma once
// The two places where the server's processes give up what they do not need.

#include <string>
#include <sys/types.h>
#include <vector>

namespace vserver {

/// The parent, once its image plugins are loaded and before the first page: what it needs from then on is opening
/// files below `roots` (which may not exist yet), forking, memory files and its socket. False when it must not go on.
bool EnterServerSandbox(std::vector<std::string> const &roots);

/// A worker, before it looks at its input: what it needs from then on is to read, write and map memory and to exit.
/// Closes every descriptor but `first` to `last`; dies with `parent`. False when it must not go on.
bool EnterWorkerSandbox(int first, int last, pid_t parent);

} // namespace vserver
