#pragma once
// The channel that speaks TLS on a connected socket. Private to this folder.

#include "net/channel.h"
#include "net/tls/tls.h"

#include <memory>
#include <openssl/ssl.h>
#include <string>

class TlsChannel : public Channel {
  public:
    /// Takes the plain channel whose socket it goes on with.
    TlsChannel(std::unique_ptr<Channel> plain, std::string host, int port);
    ~TlsChannel() override;

    /// False when the library had no session to give; Error() tells.
    bool Ready() const { return static_cast<bool>(session_); }

    /// One step of the handshake: kMoved when it is over.
    ChannelState Handshake();

    ChannelState Read(char *bytes, size_t size, size_t &moved) override;
    ChannelState Write(char const *bytes, size_t size, size_t &moved) override;
    int Descriptor() const override { return plain_->Descriptor(); }

    /// Lets the next connection to the same server resume this session (tickets). Only after the certificate passed.
    void KeepSession();

    ChannelBinding Binding() const;
    SSL *Session() const { return session_.get(); }
    std::string const &Error() const { return error_; }

  private:
    ChannelState After(int result);

    std::unique_ptr<Channel> plain_;
    std::string host_;
    int port_;
    std::unique_ptr<SSL, void (*)(SSL *)> session_{nullptr, SSL_free};
    std::string error_;
    bool keep_ = false;

    friend int TakeTicket(SSL *session, SSL_SESSION *ticket);
};
