#pragma once
// Functions that the program's described interface names and that nothing in it calls: each does what is described
// for it, on top of what does the work. Tests and benchmarks use them.

#include "Pt.h"
#include "base/account.h"

#include <cstddef>

/// Connects to the profile's POP3 server (or to the host of the environment variable "http_proxy"), in the clear.
/// Returns the socket, or -1 with the outcome in lblStatus. Any thread.
int OpenMailConnection(MailProfile &profile, void *ignored, int kind);

/// The same for the server string `text`. `inThread` is not used: lblStatus is written under the library lock from
/// every thread.
int OpenServerConnection(char const *text, int kind, int inThread);

/// Reads one reply line into `buffer` of `size` bytes, terminated, without its end. A line ends after a byte whose
/// signed value is 10 or less; bytes up to 20 are not stored, and what does not fit is dropped. Returns the bytes
/// consumed, with the line's end when one came. The bytes after it stay in the socket.
int ReadServerLine(int socket, char *buffer, int size);

/// Sends `text` up to its first CR or LF, and CR LF. Returns the bytes sent, -1 on failure.
int WriteServerLine(int socket, char const *text);

/// Reads the greeting, sends USER and PASS. Returns 1 when the server took both; -1 otherwise, with the server's
/// words in lblStatus when the password was refused. A lost connection is closed and told. The caller holds
/// sessionLock.
int PopLogin(MailProfile &profile);

/// Fetches message `number` whole with RETR. Returns a NUL-terminated buffer from malloc that the caller frees, null
/// when it could not be had whole. `length`, when not null, gets its bytes: a message may hold NULs. `lockHeld` tells
/// that the caller holds sessionLock; otherwise it is taken and posted here. A profile whose connection was never
/// made (serverSocket 0) is connected and logged in first. After a lost connection serverSocket is -1.
char *getMessage(int number, MailProfile &profile, int lockHeld, size_t *length = nullptr);

/// Fetches the header block of a message with TOP, from malloc, NUL-terminated; null when there is none. The caller
/// holds sessionLock.
char *TopHeader(MailProfile &profile, int number);

/// CheckMail with its rows in the header list (`list` is that, or null for none). Returns 1 after a complete session,
/// -1 otherwise. On a worker without the library lock.
int CheckMailSession(MailProfile &profile, PtWidget_t *list);
