#include "net/security.h"

#include "base/text.h"
#include "net/address.h"

#include <array>

namespace {

struct Scheme {
    std::string_view name;
    int kind;
    Security security;
    int32_t port;
};

constexpr std::array<Scheme, 5> kSchemes = {{{"pops", kPop3, Security::kTls, 995},
                                             {"smtps", kSmtp, Security::kTls, 465},
                                             {"nntps", kNntp, Security::kTls, 563},
                                             {"pop+starttls", kPop3, Security::kStartTls, 110},
                                             {"smtp+starttls", kSmtp, Security::kStartTls, 587}}};

constexpr std::string_view kMark = "://";

/// The scheme that `text` starts with, null for none that is named here.
Scheme const *SchemeOf(std::string_view text, int kind) {
    size_t const end = text.find(kMark);
    for (Scheme const &scheme : kSchemes)
        if (end != std::string_view::npos && scheme.kind == kind && EqualNoCase(text.substr(0, end), scheme.name))
            return &scheme;
    return nullptr;
}

std::string_view AfterScheme(std::string_view text) {
    size_t const end = text.find(kMark);
    return end == std::string_view::npos ? text : text.substr(end + kMark.size());
}

} // namespace

ServerMeaning MeaningOf(std::string_view text, int kind) {
    Scheme const *const scheme = SchemeOf(text, kind);
    if (!scheme) {
        char name[kAddressWidth], host[kAddressWidth], path[kAddressWidth];
        int32_t port = 0;
        ParseServerAddress(std::string(text).c_str(), name, host, port, path, kind);
        return {Security::kPlain, host, port};
    }
    std::string_view rest = AfterScheme(text);
    rest = rest.substr(0, rest.find('/'));
    ServerMeaning meaning{scheme->security, {}, scheme->port};
    // An IPv6 address has colons of its own and stands in brackets (RFC 3986 3.2.2).
    size_t const bracket = rest.starts_with('[') ? rest.find(']') : std::string_view::npos;
    bool const bracketed = bracket != std::string_view::npos;
    meaning.host = bracketed ? rest.substr(1, bracket - 1) : rest.substr(0, rest.find(':'));
    rest.remove_prefix(bracketed ? bracket + 1 : meaning.host.size());
    if (rest.starts_with(':'))
        meaning.port = DecimalPrefix(rest.substr(1));
    return meaning;
}

std::string WithSecurity(std::string_view text, Security security, int kind) {
    if (kind == kNntp && security == Security::kStartTls)
        security = Security::kTls;
    // A scheme that says nothing of security stays in a text that is to say nothing of it.
    if (security == Security::kPlain)
        return std::string(SchemeOf(text, kind) ? AfterScheme(text) : text);
    for (Scheme const &scheme : kSchemes)
        if (scheme.kind == kind && scheme.security == security)
            return std::string(scheme.name).append(kMark).append(AfterScheme(text));
    return std::string(text);
}

bool IsLoopback(std::string_view host) {
    return EqualNoCase(host, "localhost") || host == "::1" || host == "[::1]" ||
           (host.starts_with("127.") && host.find_first_not_of("0123456789.") == std::string_view::npos);
}
