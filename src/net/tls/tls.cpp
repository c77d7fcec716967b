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

AcceptedFingerprint &Accepted() {
    static auto *const accepted = new AcceptedFingerprint;
    return *accepted;
}

} // namespace

void SetAcceptedFingerprint(AcceptedFingerprint accepted) { Accepted() = std::move(accepted); }

std::string AcceptedFingerprintFor(std::string const &host, int port) {
    return Accepted() ? Accepted()(host, port) : std::string();
}

Outcome StartTls(Stream &stream, std::string const &host, int port, std::string_view acceptedFingerprint) {
    auto fresh = std::make_unique<TlsChannel>(std::move(stream.GetChannel()), host, port);
    TlsChannel &channel = *fresh;
    stream.Replace(std::move(fresh));
    if (!channel.Ready())
        return Failed("No encrypted connection to " + host + ": " + channel.Error());
    if (!stream.Run([&channel] { return channel.Handshake(); }))
        return stream.State() == StreamState::kStopped ? Stopped()
                                                       : Lost(WordsFor(stream.State(), host, channel.Error()));
    std::vector<std::string> reasons = ReasonsAgainst(channel.Session(), host);
    if (reasons.empty()) {
        channel.KeepSession();
        return {};
    }
    auto problem = std::make_shared<CertificateProblem>();
    *problem = {host, port, std::move(reasons), FingerprintOf(channel.Session())};
    if (!problem->fingerprint.empty() && problem->fingerprint == acceptedFingerprint)
        return {};
    problem->changed = !acceptedFingerprint.empty();
    return {Ending::kFailed, problem->reasons.front(), problem};
}

ChannelBinding ChannelBindingOf(Stream const &stream) {
    auto const *const channel = dynamic_cast<TlsChannel const *>(&stream.GetChannel());
    return channel ? channel->Binding() : ChannelBinding();
}

bool IsSecured(Stream const &stream) { return dynamic_cast<TlsChannel const *>(&stream.GetChannel()); }
