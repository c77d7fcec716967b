#include "compose/send/standard/submission.h"

#include "base/text.h"
#include "net/connection.h"
#include "net/local_name.h"
#include "net/security.h"
#include "net/tls/tls.h"

#include <algorithm>
#include <memory>

namespace {

constexpr size_t kReplyWidth = 2000;
constexpr size_t kMostLines = 1000;
constexpr size_t kLongestAuthLine = 510; // with CR LF 512 (RFC 5321 4.5.3.1.4)

struct Reply {
    int code = -1;                  ///< below 0: the connection is lost
    std::vector<std::string> lines; ///< without the code
    std::string Words() const {
        std::string words;
        for (std::string const &line : lines)
            words += (words.empty() ? "" : " ") + line;
        return std::to_string(code) + " " + words;
    }
};

class Dialogue {
  public:
    Dialogue(Submission const &submission, StopPredicate const &stopped)
        : submission_(submission), stopped_(stopped), meaning_(MeaningOf(submission.server, kSmtp)) {}

    SubmissionResult Run() {
        result_.outcome = Steps();
        return std::move(result_);
    }

  private:
    Outcome Steps();
    Outcome Greet();
    Outcome SignIn();
    Outcome OfferMessage();
    Outcome AskAhead(std::string const &mail, Reply &data);
    Outcome AskOneByOne(std::string const &mail, Reply &data);
    Outcome SendMessage();
    Outcome TakeRecipient(std::string const &address, Reply const &reply);
    Outcome NoRecipient() const;
    Reply Read();
    Reply Ask(std::string const &command) { return stream_->WriteLine(command) < 0 ? Reply() : Read(); }
    Outcome End() const;
    Outcome Refusal(std::string const &what, Reply const &reply) const {
        return reply.code < 0 ? End() : Refused(what + "\n" + reply.Words());
    }
    bool Offers(std::string_view name) const {
        return std::any_of(extensions_.begin(), extensions_.end(), [&](std::string const &line) {
            return StartsWithNoCase(line, name) && (line.size() == name.size() || line[name.size()] == ' ');
        });
    }
    /// The words after an extension's name.
    std::vector<std::string> Parameters(std::string_view name) const;
    void Show(int percent) const {
        if (submission_.progress)
            submission_.progress(percent);
    }

    Submission const &submission_;
    StopPredicate const &stopped_;
    ServerMeaning const meaning_;
    std::unique_ptr<Stream> stream_;
    std::vector<std::string> extensions_;
    size_t taken_ = 0; ///< recipients
    SubmissionResult result_;
};

Outcome Dialogue::End() const {
    switch (stream_->State()) {
    case StreamState::kStopped:
        return Stopped();
    case StreamState::kSilent:
    case StreamState::kDripping:
        return Lost(meaning_.host + " does not answer any more.");
    default:
        return Lost("The connection to " + meaning_.host + " was lost.");
    }
}

Reply Dialogue::Read() {
    Reply reply;
    for (std::string_view line; reply.lines.size() < kMostLines && stream_->ReadLine(line, kReplyWidth);) {
        reply.lines.emplace_back(line.substr(std::min<size_t>(4, line.size())));
        if (line.size() > 3 && line[3] == '-')
            continue;
        reply.code = static_cast<int>(LongPrefix(line.substr(0, 3)));
        return reply;
    }
    return reply;
}

std::vector<std::string> Dialogue::Parameters(std::string_view name) const {
    std::vector<std::string> words;
    for (std::string const &line : extensions_) {
        if (!StartsWithNoCase(line, name) || line.size() <= name.size() || line[name.size()] != ' ')
            continue;
        for (std::string_view const word : WordsOf(std::string_view(line).substr(name.size() + 1)))
            words.emplace_back(word);
    }
    return words;
}

Outcome Dialogue::Greet() {
    Reply const greeting = Read();
    if (greeting.code != 220)
        return Refusal(meaning_.host + " takes no mail now.", greeting);
    std::string const name = LocalName(stream_->Descriptor());
    Reply const hello = Ask("EHLO " + name);
    if (hello.code == 250) {
        extensions_.assign(hello.lines.begin() + 1, hello.lines.end());
        return {};
    }
    if (hello.code < 0)
        return End();
    Reply const plain = Ask("HELO " + name);
    return plain.code == 250 ? Outcome() : Refusal(meaning_.host + " does not talk to this machine.", plain);
}

Outcome Dialogue::SignIn() {
    std::vector<std::string> const mechanisms = Parameters("AUTH");
    if (mechanisms.empty() || submission_.who.user.empty())
        return {};
    ChannelBinding binding = ChannelBindingOf(*stream_);
    bool const open = !IsSecured(*stream_) && !IsLoopback(meaning_.host) && !submission_.clearAgreed;
    SaslPlace const place{
        "smtp", meaning_.host, meaning_.port, open, std::move(binding.exporter), std::move(binding.unique)};
    std::string const mechanism = ChooseMechanism(mechanisms, submission_.who, place);
    if (mechanism.empty())
        return Failed(open ? "This connection is not encrypted, and " + meaning_.host +
                                 " offers no way to sign in that others could not read."
                           : meaning_.host + " offers no way to sign in that is known here.");
    Outcome const outcome = SignInWith(mechanism, submission_.who, place, kLongestAuthLine,
                                       [this](std::string const &line, std::string &text) {
                                           Reply const reply = Ask(line);
                                           text = reply.code < 0                              ? End().text
                                                  : reply.code == 334 && !reply.lines.empty() ? reply.lines.back()
                                                                                              : reply.Words();
                                           return reply.code < 0      ? SaslReply::kLost
                                                  : reply.code == 334 ? SaslReply::kContinue
                                                  : reply.code == 235 ? SaslReply::kAccepted
                                                                      : SaslReply::kRefused;
                                       });
    if (outcome.ending == Ending::kLost)
        return End();
    result_.signInRefused = outcome.ending == Ending::kRefused;
    if (result_.signInRefused)
        return Refused(meaning_.host + " did not take the user name or the password.\n" + outcome.text);
    return outcome;
}

Outcome Dialogue::TakeRecipient(std::string const &address, Reply const &reply) {
    if (reply.code < 0)
        return End();
    if (reply.code / 100 == 2)
        taken_++;
    else
        result_.refused.push_back({address, reply.Words()});
    return {};
}

Outcome Dialogue::NoRecipient() const {
    std::string text = "No recipient was taken.";
    for (RefusedRecipient const &refused : result_.refused)
        text += "\n" + refused.address + ": " + refused.words;
    return Refused(std::move(text));
}

/// All commands at once (RFC 2920); a server that took no recipient but said yes to DATA gets an empty message, which
/// it refuses (RFC 2920 3.1).
Outcome Dialogue::AskAhead(std::string const &mail, Reply &data) {
    std::string commands = mail + "\r\n";
    for (std::string const &address : submission_.recipients)
        commands += "RCPT TO:<" + address + ">\r\n";
    stream_->StartWaiting();
    if (!stream_->Write(commands + "DATA\r\n"))
        return End();
    Reply const sender = Read();
    Outcome lost;
    for (std::string const &address : submission_.recipients)
        if (lost)
            lost = TakeRecipient(address, Read());
    if (!lost)
        return lost;
    data = Read();
    if (data.code < 0)
        return End();
    if (sender.code / 100 == 2 && taken_ > 0)
        return {};
    if (data.code == 354)
        Ask(".");
    return sender.code / 100 == 2 ? NoRecipient() : Refusal("The sender's address was refused.", sender);
}

Outcome Dialogue::AskOneByOne(std::string const &mail, Reply &data) {
    if (Reply const sender = Ask(mail); sender.code / 100 != 2)
        return Refusal("The sender's address was refused.", sender);
    for (std::string const &address : submission_.recipients)
        if (Outcome const asked = TakeRecipient(address, Ask("RCPT TO:<" + address + ">")); !asked)
            return asked;
    if (taken_ == 0)
        return NoRecipient();
    data = Ask("DATA");
    return data.code < 0 ? End() : Outcome();
}

Outcome Dialogue::OfferMessage() {
    std::string mail = "MAIL FROM:<" + submission_.sender + ">";
    if (Offers("SIZE")) {
        std::vector<std::string> const limit = Parameters("SIZE");
        int64_t const most = limit.empty() ? 0 : LongPrefix(limit[0]);
        if (most > 0 && submission_.size > most)
            return Refused("The message is too large: " + meaning_.host + " takes up to " +
                           std::to_string(most / 1'000'000) + " MB.");
        mail += " SIZE=" + std::to_string(submission_.size);
    }
    if (submission_.has8bit && Offers("8BITMIME"))
        mail += " BODY=8BITMIME";
    Reply data;
    Outcome const asked = Offers("PIPELINING") ? AskAhead(mail, data) : AskOneByOne(mail, data);
    if (!asked)
        return asked;
    return data.code == 354 ? Outcome() : Refusal(meaning_.host + " did not want the message.", data);
}

Outcome Dialogue::SendMessage() {
    if (!submission_.write(*stream_, Offers("8BITMIME")))
        return End();
    stream_->StartWaiting();
    if (!stream_->Write(".\r\n"))
        return End();
    result_.mayHaveGone = true;
    // The server may take its time to store it (RFC 5321 4.5.3.2.6 says ten minutes).
    stream_->BearSilence(std::chrono::minutes(10));
    Reply const taken = Read();
    stream_->BearSilence(std::chrono::seconds(0));
    if (taken.code < 0)
        return End();
    result_.mayHaveGone = false;
    return taken.code / 100 == 2 ? Outcome() : Refusal(meaning_.host + " did not take the message.", taken);
}

Outcome Dialogue::Steps() {
    OpenedStream opened = OpenStream(submission_.server.c_str(), kSmtp, stopped_);
    if (!opened.outcome)
        return std::move(opened.outcome);
    stream_ = std::move(opened.stream);
    stream_->StopWhen(stopped_);
    Show(2);
    for (Outcome (Dialogue::*const step)() : {&Dialogue::Greet, &Dialogue::SignIn, &Dialogue::OfferMessage}) {
        Outcome outcome = (this->*step)();
        if (!outcome) {
            stream_->WriteLine("QUIT");
            return outcome;
        }
    }
    Show(6);
    Outcome sent = SendMessage();
    stream_->WriteLine("QUIT"); // its answer changes nothing
    return sent;
}

} // namespace

SubmissionResult Submit(Submission const &submission, StopPredicate const &stopped) {
    return Dialogue(submission, stopped).Run();
}
