#include "net/local_name.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>

std::string LocalName(int socket) {
    sockaddr_storage own{};
    socklen_t size = sizeof own;
    char text[INET6_ADDRSTRLEN] = "127.0.0.1";
    if (getsockname(socket, reinterpret_cast<sockaddr *>(&own), &size) == 0 && own.ss_family == AF_INET6) {
        auto const &address = reinterpret_cast<sockaddr_in6 const &>(own).sin6_addr;
        if (!IN6_IS_ADDR_V4MAPPED(&address) && inet_ntop(AF_INET6, &address, text, sizeof text))
            return "[IPv6:" + std::string(text) + "]";
        inet_ntop(AF_INET, address.s6_addr + 12, text, sizeof text);
    } else if (own.ss_family == AF_INET) {
        inet_ntop(AF_INET, &reinterpret_cast<sockaddr_in const &>(own).sin_addr, text, sizeof text);
    }
    return "[" + std::string(text) + "]";
}
