#include "pop/standard/session.h"

#include "base/text.h"
#include "net/connection.h"
#include "net/security.h"
#include "net/tls/tls.h"
#include "state/uidl_log.h"

#include <algorithm>

namespace {

constexpr size_t kReplyWidth = 4096;
constexpr size_t kLongestCommand = 255; ///< with its CR LF (RFC 2449 4)
constexpr size_t kMostMessages = 10'000'000;

} // namespace

Outcome PopSession::EndOfConnection() const {
    switch (stream_->State()) {
    case StreamState::kStopped:
        return Stopped();
    case StreamState::kSilent:
    case StreamState::kDripping:
        return Lost(host_ + " does not answer any more");
    default:
        return Lost("The connection to " + host_ + " was lost");
    }
}

Outcome PopSession::ReadReply(std::string &words) {
    std::string_view line;
    if (!stream_->ReadLine(line, kReplyWidth))
        return EndOfConnection();
    words = line;
    return StartsWithNoCase(words, "+OK") ? Outcome() : Refused(words);
}

Outcome PopSession::Ask(std::string const &command, std::string &words) {
    return stream_->WriteLine(command) < 0 ? EndOfConnection() : ReadReply(words);
}

/// The lines of a long reply up to its end mark, dots undone. `take` says whether to read on.
Outcome PopSession::ReadLines(std::function<bool(std::string_view)> const &take) {
    for (std::string_view line; stream_->ReadLine(line, kReplyWidth);) {
        if (line == ".")
            return {};
        if (!take(line.starts_with('.') ? line.substr(1) : line))
            return Failed(host_ + " does not come to an end of its list");
    }
    return EndOfConnection();
}

Outcome PopSession::Open(ReceiveRequest const &request, StopPredicate const &stopped) {
    ServerMeaning const meaning = MeaningOf(request.server, kPop3);
    host_ = meaning.host;
    port_ = meaning.port;
    OpenedStream opened = OpenStream(request.server.c_str(), kPop3, stopped);
    if (!opened.outcome)
        return std::move(opened.outcome);
    stream_ = std::move(opened.stream);
    stream_->StopWhen(stopped);
    std::string greeting;
    if (Outcome const greeted = ReadReply(greeting); !greeted)
        return greeted;
    return ReadCapabilities();
}

/// A server without CAPA (RFC 1939 alone) can USER and PASS.
Outcome PopSession::ReadCapabilities() {
    std::string words;
    Outcome const asked = Ask("CAPA", words);
    if (!asked)
        return asked.ending == Ending::kRefused ? Outcome() : asked;
    mayUseUser_ = false;
    size_t lines = 0;
    return ReadLines([&](std::string_view line) {
        std::vector<std::string_view> const capability = WordsOf(line);
        std::string_view const name = capability.empty() ? "" : capability[0];
        mayUseUser_ = mayUseUser_ || EqualNoCase(name, "USER");
        pipelining_ = pipelining_ || EqualNoCase(name, "PIPELINING");
        if (EqualNoCase(name, "SASL"))
            mechanisms_.assign(capability.begin() + 1, capability.end());
        return ++lines < 1000;
    });
}

Outcome PopSession::SignInWithUser(Credentials const &who) {
    std::string words;
    if (Outcome const named = Ask("USER " + who.user, words); !named)
        return named;
    return Ask("PASS " + who.secret, words);
}

Outcome PopSession::SignIn(ReceiveRequest const &request, bool &refused) {
    bool const open = !IsSecured(*stream_) && !IsLoopback(host_) && !request.clearAgreed;
    ChannelBinding binding = ChannelBindingOf(*stream_);
    SaslPlace const place{"pop", host_, port_, open, std::move(binding.exporter), std::move(binding.unique)};
    std::string const mechanism = ChooseMechanism(mechanisms_, request.who, place);
    Outcome outcome;
    if (!mechanism.empty())
        outcome = SignInWith(
            mechanism, request.who, place, kLongestCommand - 2, [this](std::string const &line, std::string &text) {
                std::string_view reply;
                if (stream_->WriteLine(line) < 0 || !stream_->ReadLine(reply, kReplyWidth)) {
                    text = EndOfConnection().text;
                    return SaslReply::kLost;
                }
                bool const goesOn = reply.starts_with('+') && !StartsWithNoCase(reply, "+OK");
                bool const taken = StartsWithNoCase(reply, "+OK");
                text = !goesOn && !taken ? reply : reply.substr(std::min<size_t>(reply.size(), goesOn ? 2 : 4));
                return goesOn ? SaslReply::kContinue : taken ? SaslReply::kAccepted : SaslReply::kRefused;
            });
    else if (mayUseUser_ && !open && !request.who.isToken)
        outcome = SignInWithUser(request.who);
    else
        return Failed(open ? "This connection is not encrypted, and " + host_ +
                                 " offers no way to sign in that others could not read"
                           : host_ + " offers no way to sign in that is known here");
    if (outcome.ending == Ending::kLost && stream_->State() == StreamState::kStopped)
        return Stopped();
    refused = outcome.ending == Ending::kRefused;
    return outcome;
}

Outcome PopSession::List(std::vector<ServerMessage> &messages, bool &hasUids) {
    std::string words;
    if (Outcome const asked = Ask("LIST", words); !asked)
        return asked;
    std::map<int, size_t> places;
    Outcome const listed = ReadLines([&](std::string_view line) {
        std::vector<std::string_view> const entry = WordsOf(line);
        int const number = entry.empty() ? 0 : static_cast<int>(LongPrefix(entry[0]));
        if (number > 0 && places.emplace(number, messages.size()).second)
            messages.push_back({number, entry.size() > 1 ? std::max<int64_t>(0, LongPrefix(entry[1])) : 0, {}});
        return messages.size() < kMostMessages;
    });
    if (!listed)
        return listed;
    hasUids = false;
    Outcome const asked = Ask("UIDL", words);
    if (!asked)
        return asked.ending == Ending::kRefused ? Outcome() : asked;
    size_t lines = 0, named = 0;
    Outcome const read = ReadLines([&](std::string_view line) {
        size_t const blank = line.find(' ');
        auto const place = places.find(static_cast<int>(LongPrefix(line.substr(0, blank))));
        std::string_view const uid = blank == line.npos ? "" : line.substr(blank + 1);
        if (place != places.end() && IsUid(uid) && messages[place->second].uid.empty()) {
            messages[place->second].uid = uid;
            named++;
        }
        return ++lines < kMostMessages;
    });
    hasUids = named == messages.size();
    return read;
}

Outcome PopSession::Quit() {
    std::string words;
    return Ask("QUIT", words);
}
