#pragma once
// How bytes of one connection get in and out: in the clear, or through TLS. A Stream waits; a channel never does.

#include "base/fd.h"

#include <cstddef>
#include <memory>
#include <sys/types.h>

enum class ChannelState {
    kMoved,     ///< bytes were moved
    kWantRead,  ///< nothing could be moved before the socket is readable
    kWantWrite, ///< nothing could be moved before the socket is writable
    kEnd,       ///< the peer has ended the connection
    kError      ///< it failed; errno tells
};

class Channel {
  public:
    virtual ~Channel() = default;

    /// Takes what has arrived, at most `size` bytes. `moved` gets their number, at least 1 with kMoved, else 0.
    virtual ChannelState Read(char *bytes, size_t size, size_t &moved) = 0;

    /// Hands over bytes for sending, as many as are taken without waiting. `moved` as in Read.
    virtual ChannelState Write(char const *bytes, size_t size, size_t &moved) = 0;

    /// The socket to wait on.
    virtual int Descriptor() const = 0;
};

/// A channel in the clear. It owns the socket, whose flags stay as they are.
std::unique_ptr<Channel> PlainChannel(Fd socket);
