#pragma once
// What this machine calls itself to a server.

#include <string>

/// The address literal of the connection's own end, "[192.0.2.1]" or "[IPv6:2001:db8::1]" (RFC 5321 4.1.3): a
/// desktop's host name is private, and rarely one that resolves (RFC 6409 leaves such a name to the
/// client).
std::string LocalName(int socket);
