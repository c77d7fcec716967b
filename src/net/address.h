#pragma once
// What a server's text in a profile says.

#include <cstdint>

enum ServerKind { kPop3 = 1, kSmtp = 2, kNntp = 3 };

constexpr int kAddressWidth = 1024;

/// Splits [scheme "://"] host [":" port] ["/" path]. `scheme`, `host` and `path` are buffers of kAddressWidth bytes.
/// Without a scheme it is "pop" for kPop3 and "nntp" otherwise; without a port it is the kind's default (110, 25,
/// 119); without a path "/". The port is not range-checked here.
void ParseServerAddress(char const *text, char *scheme, char *host, int32_t &port, char *path, int kind);
