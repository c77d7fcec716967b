#include "net/channel.h"

#include <cerrno>
#include <sys/socket.h>

namespace {

class Plain : public Channel {
  public:
    explicit Plain(Fd socket) : socket_(std::move(socket)) {}

    ChannelState Read(char *bytes, size_t size, size_t &moved) override {
        ssize_t const got = recv(socket_.Get(), bytes, size, MSG_DONTWAIT);
        return got == 0 ? (moved = 0, ChannelState::kEnd) : Result(got, ChannelState::kWantRead, moved);
    }

    ChannelState Write(char const *bytes, size_t size, size_t &moved) override {
        return Result(send(socket_.Get(), bytes, size, MSG_DONTWAIT | MSG_NOSIGNAL), ChannelState::kWantWrite, moved);
    }

    int Descriptor() const override { return socket_.Get(); }

  private:
    static ChannelState Result(ssize_t count, ChannelState wait, size_t &moved) {
        moved = count > 0 ? static_cast<size_t>(count) : 0;
        if (count >= 0)
            return ChannelState::kMoved;
        return errno == EAGAIN || errno == EINTR ? wait : ChannelState::kError;
    }

    Fd socket_;
};

} // namespace

std::unique_ptr<Channel> PlainChannel(Fd socket) { return std::make_unique<Plain>(std::move(socket)); }
