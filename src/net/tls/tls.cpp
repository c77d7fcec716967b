#include "net/tls/tls.h"

#include "net/tls/certificate.h"
#include "net/tls/tls_channel.h"

#include <openssl/ssl.h>

namespace {

std::string WordsFor(StreamState state, std::string const &host, std::string const &detail) {
    switch (state) {
    case StreamState::kStopped:
        return "Stopped";
    case StreamState::kSilent:
    case StreamState::kDripping:
        return host + " did not finish the start of the encrypted connection in time";
    case StreamState::kClosed:
        return host + " closed the connection at the start of encryption" +
               (detail.empty() ? "" : " (" + detail + ")");
    default:
        return "No encrypted connection to " + host + (detail.empty() ? "" : ": " + detail);
    }
}

bool IsAccepted(AcceptedCertificate const *accepted, std::string const &host, int port, std::string const &print) {
    return accepted && accepted->host == host && accepted->port == port && accepted->fingerprint == print;
}

} // namespace

TlsResult StartTls(Stream &stream, std::string const &host, int port, AcceptedCertificate const *accepted) {
    auto fresh = std::make_unique<TlsChannel>(std::move(stream.GetChannel()), host, port);
    TlsChannel &channel = *fresh;
    stream.Replace(std::move(fresh));
    if (!channel.Ready())
        return {Failed("No encrypted connection to " + host + ": " + channel.Error()), {}};
    if (!stream.Run([&channel] { return channel.Handshake(); })) {
        StreamState const state = stream.State();
        std::string text = WordsFor(state, host, channel.Error());
        return {state == StreamState::kStopped ? Stopped() : Lost(std::move(text)), {}};
    }
    std::vector<std::string> reasons = ReasonsAgainst(channel.Session(), host);
    if (reasons.empty()) {
        channel.KeepSession();
        return {};
    }
    CertificateProblem problem{host, port, std::move(reasons), FingerprintOf(channel.Session())};
    if (IsAccepted(accepted, host, port, problem.fingerprint))
        return {};
    std::string text = problem.reasons.front();
    return {Failed(std::move(text)), std::move(problem)};
}

ChannelBinding ChannelBindingOf(Stream const &stream) {
    auto const *const channel = dynamic_cast<TlsChannel const *>(&stream.GetChannel());
    return channel ? channel->Binding() : ChannelBinding();
}

bool IsSecured(Stream const &stream) { return dynamic_cast<TlsChannel const *>(&stream.GetChannel()); }
