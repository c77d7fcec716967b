#pragma once
// Server addresses, connections and command lines, shared by POP3 (RFC 1939), SMTP (RFC 5321) and NNTP (RFC 3977).
// A connection attempt is bounded to 30 s over all of a host's addresses, silence of a peer to 60 s: then the
// connection counts as lost. SIGPIPE never comes up. A thread that holds the library leaves it during each wait, and
// paints: whoever calls from a callback looks afterwards whether what it works on is still there.

#include "base/account.h"

#include <atomic>
#include <cstdint>
#include <span>
#include <string_view>

enum ServerKind { kPop3 = 1, kSmtp = 2, kNntp = 3 };

constexpr int kAddressWidth = 1024;
constexpr int kReplyWidth = 10240;
constexpr int kConnectSeconds = 30;
constexpr int kSilenceSeconds = 60;
constexpr int kKeepAliveSeconds = 10;

/// Splits [scheme "://"] host [":" port] ["/" path]. `scheme`, `host` and `path` are buffers of kAddressWidth bytes.
/// Without a scheme it is "pop" for kPop3 and "nntp" otherwise; without a port it is the kind's default (110, 25,
/// 119); without a path "/". The port is not range-checked here.
void ParseServerAddress(char const *text, char *scheme, char *host, int32_t &port, char *path, int kind);

/// Connects to the profile's POP3 server (or to the host of the environment variable "http_proxy"). Returns the
/// socket, or -1 after setting lblStatus (unknown host) or writing to standard error. Any thread.
int OpenMailConnection(MailProfile &profile, void *ignored, int kind);

/// The same for the server string `text`. `inThread` is non-zero outside the toolkit's main thread. When `cancelled`
/// becomes true meanwhile, the attempt ends within 0.1 s, with -1 and without a word; a name lookup is waited for.
int OpenServerConnection(char const *text, int kind, int inThread, std::atomic<bool> const *cancelled = nullptr);

/// Reads one reply line into `buffer` of `size` bytes, terminated, without its end. A line ends after a byte whose
/// signed value is 10 or less; CR and the other bytes up to 20 are not stored. What does not fit is read and
/// dropped. Returns the bytes consumed with the line's end; 0 or -1 when the connection ended, failed or stayed
/// silent for `seconds` before a line's end came (`buffer` has what arrived).
int ReadServerLine(int socket, char *buffer, int size, int seconds = kSilenceSeconds);

/// ReadServerLine for a reply that a text follows: what has come behind the line goes into `behind` (not empty),
/// `kept` bytes of it, which saves two system calls.
int ReadServerReply(int socket, char *buffer, int size, std::span<char> behind, size_t &kept);

/// ReadServerLine for a dialogue in which every line counts: a byte that ends a line there ends the text here, and
/// the rest of the line up to its LF is read and dropped instead of passing for the next reply.
int ReadWholeLine(int socket, char *buffer, int size, int seconds = kSilenceSeconds);

/// Sends all of `bytes` as they are. Returns false when the connection failed or took nothing for kSilenceSeconds.
bool WriteServerBytes(int socket, std::string_view bytes);

/// Sends `text` up to its first CR or LF, and CR LF, in one system call. Returns the bytes sent, -1 on failure.
int WriteServerLine(int socket, char const *text);

/// Reads what has arrived, at most `size` bytes, waiting at most `seconds` for the first byte (0: not at all).
/// Returns the bytes read, 0 at the end of the connection, -1 on an error or silence.
int ReadServerBytes(int socket, char *buffer, int size, int seconds = kSilenceSeconds);

/// Reads the greeting, sends USER and PASS. Returns 1 when the server took both; -1 otherwise, with the server's
/// words in lblStatus when the password was refused. The caller holds sessionLock.
int PopLogin(MailProfile &profile);

/// Closes the account's connection, if any, without a word, and sets serverSocket to `afterwards`. The caller
/// holds sessionLock.
void CloseConnection(ServerAccount &account, int32_t afterwards = -1);

/// Closes the account's connection after it failed or fell silent (serverSocket -1) and says so in lblStatus. The
/// caller holds sessionLock.
void LoseConnection(ServerAccount &account);
