#pragma once
// Command and reply lines on a socket that has no stream, shared by POP3 (RFC 1939), SMTP (RFC 5321) and NNTP (RFC
// 3977). Silence of a peer is bounded to 60 s: then the connection counts as lost. SIGPIPE never comes up.

#include <span>
#include <string_view>

constexpr int kReplyWidth = 10240;
constexpr int kSilenceSeconds = 60;
constexpr int kKeepAliveSeconds = 10;

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
