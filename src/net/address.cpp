#include "net/address.h"

#include "base/text.h"

namespace {

constexpr int32_t DefaultPort(int kind) { return kind == kPop3 ? 110 : kind == kSmtp ? 25 : 119; }

} // namespace

void ParseServerAddress(char const *text, char *scheme, char *host, int32_t &port, char *path, int kind) {
    std::string_view rest = text ? text : "";
    std::string_view schemeText = kind == kPop3 ? "pop" : "nntp";
    if (size_t const end = rest.find("://"); end != std::string_view::npos) {
        schemeText = rest.substr(0, end);
        rest.remove_prefix(end + 3);
    }
    std::string_view pathText = "/";
    if (size_t const slash = rest.find('/'); slash != std::string_view::npos) {
        pathText = rest.substr(slash);
        rest = rest.substr(0, slash);
    }
    port = DefaultPort(kind);
    if (size_t const colon = rest.find(':'); colon != std::string_view::npos) {
        port = DecimalPrefix(rest.substr(colon + 1));
        rest = rest.substr(0, colon);
    }
    CopyText(scheme, kAddressWidth, schemeText);
    CopyText(host, kAddressWidth, rest);
    CopyText(path, kAddressWidth, pathText);
}
