#include "net/sasl/sasl.h"

#include "base/text.h"
#include "net/sasl/mechanism.h"

#include <algorithm>
#include <array>

namespace {

constexpr std::array<std::string_view, 6> kWithPassword = {"SCRAM-SHA-256-PLUS", "SCRAM-SHA-256", "SCRAM-SHA-1",
                                                           "CRAM-MD5",           "PLAIN",         "LOGIN"};
constexpr std::array<std::string_view, 2> kWithToken = {"OAUTHBEARER", "XOAUTH2"};

bool Offers(std::vector<std::string> const &offered, std::string_view name) {
    return std::any_of(offered.begin(), offered.end(), [&](auto const &one) { return EqualNoCase(one, name); });
}

/// Who reads it on the way can sign in with it.
bool IsClear(std::string_view name) { return name == "PLAIN" || name == "LOGIN"; }

bool HasBinding(SaslPlace const &place) { return !place.bindingExporter.empty() || !place.bindingUnique.empty(); }

Outcome NoProof() {
    return Failed(
        "The server did not prove that it knows the password. Another server may be answering in its place.");
}

} // namespace

std::string ChooseMechanism(std::vector<std::string> const &offered, Credentials const &credentials,
                            SaslPlace const &place) {
    if (credentials.isToken) {
        for (std::string_view const name : kWithToken)
            if (!place.mayBeRead && Offers(offered, name))
                return std::string(name);
        return {};
    }
    for (std::string_view const name : kWithPassword) {
        bool const allowed = !(IsClear(name) && place.mayBeRead) && (!name.ends_with("-PLUS") || HasBinding(place));
        if (allowed && Offers(offered, name))
            return std::string(name);
    }
    return {};
}

Outcome SignInWith(std::string const &mechanism, Credentials const &credentials, SaslPlace const &place,
                   size_t longestLine, SaslAsk const &ask) {
    std::unique_ptr<Mechanism> const exchange = NewMechanism(mechanism, credentials, place);
    if (!exchange)
        return Failed("Signing in with " + mechanism + " is not possible here");
    std::string line = "AUTH " + mechanism, response, challenge, text;
    SaslStep step = SaslStep::kMore;
    bool waits = false; // a response that was too long for the first line
    if (exchange->HasInitialResponse()) {
        step = exchange->Step({}, response);
        if (step == SaslStep::kWrong)
            return Failed("The user name or the password cannot be used to sign in");
        std::string const encoded = response.empty() ? "=" : ToBase64(response);
        waits = line.size() + 1 + encoded.size() > longestLine;
        if (!waits)
            line += " " + encoded;
    }
    for (int rounds = 0; rounds < 10; rounds++) {
        SaslReply const reply = ask(line, text);
        if (reply == SaslReply::kRefused)
            return Refused(text);
        if (reply == SaslReply::kLost)
            return Lost(text);
        if (reply == SaslReply::kAccepted && step == SaslStep::kComplete)
            return {};
        if (reply == SaslReply::kAccepted) // what proves the server may come along with its last word
            return FromBase64(text, challenge) && exchange->Step(challenge, response) == SaslStep::kComplete
                       ? Outcome()
                       : NoProof();
        if (!FromBase64(text, challenge)) {
            ask("*", text);
            return Failed("The server's answer to the sign-in makes no sense");
        }
        if (!waits) {
            response.clear();
            step = exchange->Step(challenge, response);
        }
        waits = false;
        if (step == SaslStep::kWrong) {
            ask("*", text);
            return NoProof();
        }
        line = ToBase64(response);
    }
    return Failed("The server does not come to an end of the sign-in");
}
