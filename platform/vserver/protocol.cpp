#include "vserver/protocol.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

namespace vserver {
namespace {

/// Whether a message keeps the rules for its kind.
bool IsWellFormed(Header const &header, bool has_descriptor) {
    auto const &value = header.value;
    switch (header.kind) {
    case Kind::Hello:
        return value[0] == kVersion && value[1] <= 1 && !has_descriptor;
    case Kind::Load:
        return header.text_size > 0 && !has_descriptor;
    case Kind::Page:
        return has_descriptor && value[0] <= kMaxImages && value[1] <= kMaxCleanBytes;
    case Kind::Image:
        if (value[0] >= kMaxImages || value[1] > kMaxImageSide || value[2] > kMaxImageSide)
            return false;
        if (uint64_t{value[1]} * value[2] > kMaxImagePixels)
            return false;
        return has_descriptor ? value[1] > 0 && value[2] > 0 : value[1] == 0 && value[2] == 0;
    case Kind::Error:
        return value[0] <= 1 && !has_descriptor;
    case Kind::Quit:
        return !has_descriptor;
    }
    return false;
}

/// Takes the first descriptor out of a message's control data and closes all others. False when there was more than
/// one or anything else.
bool TakeDescriptor(msghdr &message, Fd &descriptor) {
    bool good = (message.msg_flags & MSG_CTRUNC) == 0;
    for (cmsghdr *part = CMSG_FIRSTHDR(&message); part; part = CMSG_NXTHDR(&message, part)) {
        if (part->cmsg_level != SOL_SOCKET || part->cmsg_type != SCM_RIGHTS) {
            good = false;
            continue;
        }
        size_t const count = (part->cmsg_len - CMSG_LEN(0)) / sizeof(int);
        for (size_t i = 0; i < count; ++i) {
            int taken;
            memcpy(&taken, CMSG_DATA(part) + i * sizeof taken, sizeof taken);
            good = good && !descriptor.Valid();
            descriptor.Reset(taken);
        }
    }
    return good;
}

} // namespace

int Send(int socket, Kind kind, uint32_t id, std::array<uint32_t, 3> value, std::string_view text, int descriptor) {
    text = text.substr(0, kMaxText);
    Header header;
    header.kind = kind;
    header.text_size = static_cast<uint16_t>(text.size());
    header.id = id;
    header.value = value;

    iovec parts[2] = {{&header, sizeof header}, {const_cast<char *>(text.data()), text.size()}};
    msghdr message{};
    message.msg_iov = parts;
    message.msg_iovlen = 2;
    alignas(cmsghdr) char control[CMSG_SPACE(sizeof descriptor)] = {};
    if (descriptor >= 0) {
        message.msg_control = control;
        message.msg_controllen = sizeof control;
        cmsghdr *part = CMSG_FIRSTHDR(&message);
        part->cmsg_level = SOL_SOCKET;
        part->cmsg_type = SCM_RIGHTS;
        part->cmsg_len = CMSG_LEN(sizeof descriptor);
        memcpy(CMSG_DATA(part), &descriptor, sizeof descriptor);
    }
    while (sendmsg(socket, &message, MSG_NOSIGNAL) < 0)
        if (errno != EINTR)
            return errno;
    return 0;
}

Received Receive(int socket, Packet &packet) {
    packet = {};
    char text[kMaxText];
    iovec parts[2] = {{&packet.header, sizeof packet.header}, {text, sizeof text}};
    alignas(cmsghdr) char control[CMSG_SPACE(sizeof(int))] = {};
    msghdr message{};
    message.msg_iov = parts;
    message.msg_iovlen = 2;
    message.msg_control = control;
    message.msg_controllen = sizeof control;

    ssize_t size;
    do
        size = recvmsg(socket, &message, MSG_DONTWAIT | MSG_CMSG_CLOEXEC);
    while (size < 0 && errno == EINTR);
    if (size < 0)
        return errno == EAGAIN || errno == EWOULDBLOCK ? Received::Nothing : Received::Closed;
    bool const good_control = TakeDescriptor(message, packet.descriptor);
    if (size == 0)
        return Received::Closed;
    Header const &header = packet.header;
    if (!good_control || (message.msg_flags & MSG_TRUNC) || size < ssize_t{sizeof header} || header.magic != kMagic ||
        header.text_size > kMaxText || static_cast<size_t>(size) != sizeof header + header.text_size ||
        !IsWellFormed(header, packet.descriptor.Valid())) {
        packet.descriptor.Reset();
        return Received::Bad;
    }
    packet.text.assign(text, header.text_size);
    return Received::Message;
}

} // namespace vserver
