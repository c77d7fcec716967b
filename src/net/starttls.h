#pragma once
// Turning a connection in the clear into one through TLS, where a server's text asks for that. Private to this
// folder.

#include "base/outcome.h"
#include "net/stream.h"

/// Reads the greeting and asks the server to start TLS: STLS for kPop3 (RFC 2595 4), EHLO and STARTTLS for kSmtp
/// (RFC 3207). Afterwards the handshake is to follow. Failed with words for the user when the server does not offer
/// it: nothing but these commands was sent then.
Outcome AskForTls(Stream &stream, int kind, std::string const &host);

/// What takes the greeting's place once TLS is there, so that the dialogue starts as on any other connection. What
/// the server said in the clear is not believed.
std::string_view GreetingAfterTls(int kind);
