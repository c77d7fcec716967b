#pragma once
// How a connection is secured: the scheme of a server's text says so, in both ways of working. A text without a
// scheme, or with one that is not named here, is a connection in the clear.

#include <cstdint>
#include <string>
#include <string_view>

enum class Security {
    kPlain,   ///< in the clear
    kTls,     ///< TLS from the first byte (RFC 8314 3): pops:// smtps:// nntps://
    kStartTls ///< STLS (RFC 2595) or STARTTLS (RFC 3207) before anything else: pop+starttls:// smtp+starttls://
};

/// What a server's text means.
struct ServerMeaning {
    Security security = Security::kPlain;
    std::string host;
    int32_t port = 0; ///< as written, else the default of its scheme
};

/// Reads a server's text as ParseServerAddress does, with the default ports of the secured schemes: 995, 465, 563 for
/// TLS, 110 and 587 for STARTTLS. `kind` is kPop3, kSmtp or kNntp. The port is not range-checked.
ServerMeaning MeaningOf(std::string_view text, int kind);

/// The text of a server with another security: its scheme replaced, its host, port and path kept. kPlain takes the
/// scheme away. kStartTls is no choice for kNntp and gives kTls.
std::string WithSecurity(std::string_view text, Security security, int kind);

/// True for a host that is this machine: "localhost", 127.0.0.0/8, "::1", with or without brackets.
bool IsLoopback(std::string_view host);
