#include "net/tls/tls_channel.h"

#include "net/tls/certificate.h"

#include <arpa/inet.h>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <map>
#include <mutex>
#include <openssl/err.h>
#include <openssl/x509v3.h>

namespace {

using Ticket = std::shared_ptr<SSL_SESSION>;

/// The newest ticket of each server, for as long as the program runs.
struct Tickets {
    std::mutex mutex;
    std::map<std::string, Ticket> byServer;
};
Tickets &AllTickets() {
    static auto *const tickets = new Tickets; // workers may still connect while the program ends
    return *tickets;
}

std::string KeyOf(std::string const &host, int port) { return host + ":" + std::to_string(port); }

std::string NewestError() {
    unsigned long const code = ERR_peek_last_error();
    char const *const reason = code ? ERR_reason_error_string(code) : nullptr;
    ERR_clear_error();
    return reason ? reason : "";
}

} // namespace

/// The library hands over a ticket, under TLS 1.3 with the first bytes that are read after the handshake.
int TakeTicket(SSL *session, SSL_SESSION *ticket) {
    auto const *const channel = static_cast<TlsChannel const *>(SSL_get_app_data(session));
    if (!channel || !channel->keep_)
        return 0;
    Tickets &tickets = AllTickets();
    std::lock_guard const lock(tickets.mutex);
    tickets.byServer[KeyOf(channel->host_, channel->port_)] = Ticket(ticket, SSL_SESSION_free);
    return 1;
}

namespace {

SSL_CTX *NewContext() {
    SSL_CTX *const context = SSL_CTX_new(TLS_client_method());
    if (!context)
        return nullptr;
    SSL_CTX_set_min_proto_version(context, TLS1_2_VERSION);
    SSL_CTX_set_default_verify_paths(context);
    SSL_CTX_set_mode(context,
                     SSL_MODE_ENABLE_PARTIAL_WRITE | SSL_MODE_ACCEPT_MOVING_WRITE_BUFFER | SSL_MODE_RELEASE_BUFFERS);
    // Records are read in blocks: a small message then costs one system call and not two.
    SSL_CTX_set_read_ahead(context, 1);
    SSL_CTX_set_session_cache_mode(context, SSL_SESS_CACHE_CLIENT | SSL_SESS_CACHE_NO_INTERNAL);
    SSL_CTX_sess_set_new_cb(context, TakeTicket);
    return context;
}

SSL_CTX *Context() {
    static SSL_CTX *const context = NewContext();
    return context;
}

bool IsAddress(std::string const &host) {
    unsigned char bytes[sizeof(in6_addr)];
    return inet_pton(AF_INET, host.c_str(), bytes) == 1 || inet_pton(AF_INET6, host.c_str(), bytes) == 1;
}

/// The name that the certificate must have, and that the server is told when it is no address.
bool SetName(SSL *session, std::string const &host) {
    SSL_set_hostflags(session, X509_CHECK_FLAG_NO_PARTIAL_WILDCARDS);
    if (IsAddress(host))
        return X509_VERIFY_PARAM_set1_ip_asc(SSL_get0_param(session), host.c_str()) == 1;
    return SSL_set1_host(session, host.c_str()) == 1 && SSL_set_tlsext_host_name(session, host.c_str()) == 1;
}

} // namespace

TlsChannel::TlsChannel(std::unique_ptr<Channel> plain, std::string host, int port)
    : plain_(std::move(plain)), host_(std::move(host)), port_(port) {
    // The library reads and writes the socket itself, and must never wait in it.
    int const flags = fcntl(plain_->Descriptor(), F_GETFL);
    if (flags < 0 || fcntl(plain_->Descriptor(), F_SETFL, flags | O_NONBLOCK) != 0)
        return;
    session_.reset(Context() ? SSL_new(Context()) : nullptr);
    if (!session_ || SSL_set_fd(session_.get(), plain_->Descriptor()) != 1 || !SetName(session_.get(), host_)) {
        session_.reset();
        error_ = NewestError();
        return;
    }
    SSL_set_app_data(session_.get(), this);
    RecordProblems(session_.get());
    Tickets &tickets = AllTickets();
    std::lock_guard const lock(tickets.mutex);
    if (auto const found = tickets.byServer.find(KeyOf(host_, port_)); found != tickets.byServer.end())
        SSL_set_session(session_.get(), found->second.get());
}

TlsChannel::~TlsChannel() {
    // close_notify, when the socket takes it at once: the peer then knows that nothing was cut off.
    if (session_ && SSL_is_init_finished(session_.get()))
        SSL_shutdown(session_.get());
    ERR_clear_error();
}

/// What a call of the library that has moved nothing means.
ChannelState TlsChannel::After(int result) {
    int const error = errno;
    switch (SSL_get_error(session_.get(), result)) {
    case SSL_ERROR_WANT_READ:
        return ChannelState::kWantRead;
    case SSL_ERROR_WANT_WRITE:
        return ChannelState::kWantWrite;
    case SSL_ERROR_ZERO_RETURN:
        return ChannelState::kEnd;
    default:
        // A connection that ends without close_notify may have been cut: that is an error (RFC 8446 6.1).
        error_ = NewestError();
        if (error_.empty())
            error_ = error ? strerror(error) : "the connection was cut";
        return ChannelState::kError;
    }
}

ChannelState TlsChannel::Handshake() {
    ERR_clear_error();
    errno = 0;
    int const result = SSL_connect(session_.get());
    return result == 1 ? ChannelState::kMoved : After(result);
}

ChannelState TlsChannel::Read(char *bytes, size_t size, size_t &moved) {
    ERR_clear_error();
    errno = moved = 0;
    int const result = SSL_read_ex(session_.get(), bytes, size, &moved);
    return result == 1 ? ChannelState::kMoved : After(result);
}

ChannelState TlsChannel::Write(char const *bytes, size_t size, size_t &moved) {
    ERR_clear_error();
    errno = moved = 0;
    int const result = SSL_write_ex(session_.get(), bytes, size, &moved);
    return result == 1 ? ChannelState::kMoved : After(result);
}

void TlsChannel::KeepSession() {
    keep_ = true;
    // A ticket that came with the handshake (TLS 1.2) was let go before the certificate had passed.
    if (SSL_version(session_.get()) < TLS1_3_VERSION && !SSL_session_reused(session_.get()))
        if (SSL_SESSION *const ticket = SSL_get1_session(session_.get());
            ticket && !TakeTicket(session_.get(), ticket))
            SSL_SESSION_free(ticket);
}

ChannelBinding TlsChannel::Binding() const {
    ChannelBinding binding;
    char bytes[EVP_MAX_MD_SIZE];
    if (SSL_version(session_.get()) >= TLS1_3_VERSION) {
        constexpr std::string_view kLabel = "EXPORTER-Channel-Binding"; // RFC 9266 4.2: 32 bytes
        if (SSL_export_keying_material(session_.get(), reinterpret_cast<unsigned char *>(bytes), 32, kLabel.data(),
                                       kLabel.size(), nullptr, 0, 1) == 1)
            binding.exporter.assign(bytes, 32);
        return binding;
    }
    // The first Finished message of the handshake (RFC 5929 3.1): in a resumed session the server's.
    size_t const size = SSL_session_reused(session_.get())
                            ? SSL_get_peer_finished(session_.get(), bytes, sizeof bytes)
                            : SSL_get_finished(session_.get(), bytes, sizeof bytes);
    binding.unique.assign(bytes, size);
    return binding;
}
