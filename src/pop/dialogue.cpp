#include "pop/dialogue.h"

#include "base/text.h"

#include <cstring>

PopReply PopAsk(Stream &stream, std::string_view command, std::string &reply) {
    std::string_view line;
    // kept: a reply ends at any control character up to LF and at any 8-bit byte; the rest is the next reply.
    if (stream.WriteLine(command) < 0 || stream.ReadClassicLine(line, kPopReplyWidth - 1) <= 0)
        return stream.State() == StreamState::kStopped ? PopReply::kStopped : PopReply::kLost;
    reply = line;
    return StartsWithNoCase(reply, "+OK") ? PopReply::kOk : PopReply::kRefused;
}

PopReply PopAskSecretly(Stream &stream, std::string_view command, std::string_view secret, std::string &reply) {
    std::string line = std::string(command).append(secret);
    PopReply const result = PopAsk(stream, line, reply);
    explicit_bzero(line.data(), line.size());
    return result;
}

Outcome ReadFailure(Stream const &stream) {
    return stream.State() == StreamState::kStopped ? Stopped() : Lost(kLostMailServer);
}

Outcome OutcomeOf(PopReply result, std::string const &reply) {
    switch (result) {
    case PopReply::kOk:
        return {};
    case PopReply::kRefused:
        return Refused(reply);
    case PopReply::kLost:
        return Lost(kLostMailServer);
    case PopReply::kStopped:
        break;
    }
    return Stopped();
}

Outcome LogIn(Stream &stream, std::string_view userName, std::string_view password) {
    std::string_view greeting;
    stream.StartWaiting();
    if (!stream.ReadLine(greeting, 0))
        return ReadFailure(stream);
    std::string reply;
    PopReply const user = PopAskSecretly(stream, "USER ", userName, reply);
    if (user == PopReply::kRefused)
        return Refused(""); // kept: a refused name is not told
    if (user != PopReply::kOk)
        return OutcomeOf(user, reply);
    return OutcomeOf(PopAskSecretly(stream, "PASS ", password, reply), reply);
}
