#pragma once
// Landlock, a lock on files and sockets that a process puts on itself, by its system calls: Debian's C library has no
// names for them, and its headers do not know the newer rights.

#include <string>
#include <vector>

namespace sandbox {

/// Leaves this process and those that it will fork no file to open but for reading below `roots`, no TCP port, and no
/// process or abstract socket beyond them, as far as this kernel can forbid that. Roots that do not exist are left
/// out. Wants no_new_privs. Returns 0 or an errno: ENOSYS, EOPNOTSUPP where the kernel has none.
int EnterLandlock(std::vector<std::string> const &roots);

/// The version of the kernel's Landlock, 0 when it has none.
int LandlockVersion();

} // namespace sandbox
