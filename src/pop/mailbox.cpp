#include "pop/mailbox.h"

#include "net/connection.h"
#include "pop/dialogue.h"

#include <algorithm>

namespace {

constexpr std::chrono::seconds kKeepAliveSilence{10};

/// Ends the connection after an outcome that leaves it of no more use.
void CloseAfter(MailProfile &profile, Outcome const &outcome) {
    if (outcome.ending == Ending::kLost || outcome.ending == Ending::kStopped)
        CloseConnection(profile);
}

/// The connection ended before it said a word to what was asked.
bool EndedUnheard(Stream const &stream, size_t receivedBefore) {
    return stream.Received() == receivedBefore &&
           (stream.State() == StreamState::kClosed || stream.State() == StreamState::kFailed);
}

/// Calls `ask` with the stream of a connection that is logged in, and again with a fresh one when the server had
/// closed the one that was there. Returns the outcome of the log in, or what `ask` returns.
template <class Ask> Outcome OnConnection(MailProfile &profile, StopPredicate const &stopped, Ask const &ask) {
    for (bool tried = false;; tried = true) {
        bool const kept = StreamOf(profile) != nullptr;
        if (Outcome ready = EnsureLoggedIn(profile, stopped); !ready)
            return ready;
        std::shared_ptr<Stream> const stream = profile.stream;
        StopScope const scope(*stream, stopped);
        size_t const before = stream->Received();
        Outcome outcome = ask(*stream);
        bool const again = outcome.ending == Ending::kLost && kept && !tried && EndedUnheard(*stream, before);
        CloseAfter(profile, outcome);
        if (!again)
            return outcome;
    }
}

Outcome Undecided(Ending ending) {
    return {ending, "The connection was lost; the next check shows whether the message is still on the server"};
}

/// A refusal, in the server's words when it has some.
Outcome Unconfirmed(std::string const &reply) {
    return Refused(reply.empty() ? "The mail server did not confirm that it has deleted the message" : reply);
}

} // namespace

Outcome EnsureLoggedIn(MailProfile &profile, StopPredicate const &stopped) {
    if (Stream *const kept = StreamOf(profile); kept && kept->Idle())
        return {};
    CloseConnection(profile);
    OpenedStream opened = OpenStream(profile.popServer, kPop3, stopped);
    if (!opened.outcome)
        return std::move(opened.outcome);
    StopScope const scope(*opened.stream, stopped);
    Outcome outcome = LogIn(*opened.stream, profile.userName, profile.password);
    if (outcome)
        SetStream(profile, std::move(opened.stream));
    else if (outcome.ending == Ending::kRefused && outcome.text.empty())
        outcome.text = "The mail server refused the login";
    return outcome;
}

FetchedMessage FetchMessage(MailProfile &profile, int number, StopPredicate const &stopped) {
    FetchedMessage message{.outcome = {}, .text = {}, .asked = false};
    Outcome outcome = OnConnection(profile, stopped, [&](Stream &stream) {
        message = FetchMessage(stream, number);
        return message.outcome;
    });
    message.outcome = std::move(outcome);
    return message;
}

Outcome DeleteOnServer(MailProfile &profile, int number, StopPredicate const &stopped) {
    std::string reply, goodbye;
    PopReply quit = PopReply::kLost;
    Outcome const outcome = OnConnection(profile, stopped, [&](Stream &stream) {
        PopReply const marked = PopAsk(stream, "DELE " + std::to_string(number), reply);
        if (marked == PopReply::kOk || marked == PopReply::kRefused)
            quit = PopAsk(stream, "QUIT", goodbye);
        return OutcomeOf(marked, reply);
    });
    CloseConnection(profile);
    if (outcome.ending == Ending::kLost || outcome.ending == Ending::kStopped)
        return {outcome.ending, "The connection was lost; the message is still on the server"};
    if (outcome.ending == Ending::kRefused)
        return Unconfirmed(outcome.text);
    if (!outcome)
        return outcome;
    if (quit == PopReply::kLost || quit == PopReply::kStopped)
        return Undecided(quit == PopReply::kLost ? Ending::kLost : Ending::kStopped);
    if (quit == PopReply::kRefused)
        return Unconfirmed(goodbye);
    profile.serverMessageCount = std::max(0, profile.serverMessageCount - 1);
    return {};
}

void KeepAlive(MailProfile &profile, StopPredicate const &stopped) {
    if (!StreamOf(profile))
        return;
    std::shared_ptr<Stream> const stream = profile.stream;
    StopScope const scope(*stream, stopped);
    stream->BearSilence(kKeepAliveSilence);
    std::string reply;
    PopReply const result = PopAsk(*stream, "NOOP", reply);
    stream->BearSilence({});
    if (result == PopReply::kLost || result == PopReply::kStopped || reply.empty())
        CloseConnection(profile);
}
