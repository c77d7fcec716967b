#pragma once
// Finding a host's addresses.

#include "net/stream.h"

#include <memory>
#include <netdb.h>

using AddressList = std::unique_ptr<addrinfo, void (*)(addrinfo *)>;

/// The addresses of a host for stream sockets, null when it has none. The servers of names take their time: the
/// lookup runs on a thread of its own, and is given up at `deadline` or within 0.1 s of `stopped` becoming true.
AddressList LookUpHost(char const *host, int port, std::chrono::steady_clock::time_point deadline,
                       StopPredicate const &stopped);
