#include "compose/send/classic/smtp_dialogue.h"

#include "base/text.h"
#include "compose/send/classic/dialogue.h"
#include "mime/recipients.h"

#include <algorithm>
#include <cstring>

namespace {

constexpr int kMostAnswerLines = 1000;
constexpr size_t kLongestLine = 10239, kMostAnswerText = 10240;

/// Commands and their answers.
class Dialogue {
  public:
    explicit Dialogue(Stream &stream) : stream_(stream) {}

    /// Reads an answer of one or more lines: it ends at the line whose fourth character is no "-" (RFC 5321 4.2.1).
    bool ReadAnswer() {
        answer_.clear();
        std::string_view line;
        for (int lines = 0; lines < kMostAnswerLines && stream_.ReadLine(line, kLongestLine); lines++) {
            std::string const text = ShownReply(line);
            if (answer_.size() < kMostAnswerText)
                answer_.append(lines ? "\n" : "").append(text);
            if (text.size() < 4 || text[3] != '-')
                return true;
        }
        return false;
    }
    bool Ask(std::string const &command) {
        return !stream_.Stopped() && stream_.WriteLine(command) > 0 && ReadAnswer();
    }
    int32_t Number() const { return DecimalPrefix(answer_); }
    std::string const &Answer() const { return answer_; }

  private:
    Stream &stream_;
    std::string answer_; ///< the last one, its lines separated by LF
};

/// What ends an address or the command it stands in must not stand in an address.
bool IsSendable(std::string_view address) {
    return std::none_of(address.begin(), address.end(),
                        [](unsigned char byte) { return byte < 32 || byte == 127 || byte == '<' || byte == '>'; });
}

bool NameRecipients(SmtpDelivery const &delivery, Dialogue &dialogue) {
    for (std::string const &address : delivery.recipients) {
        if (!IsSendable(address)) {
            delivery.tell("This is no address that mail can be sent to: " + address);
            continue;
        }
        if (!dialogue.Ask("RCPT TO: <" + address + ">"))
            return false;
        // kept: 251, which takes the recipient too, is told as well.
        if (dialogue.Number() != kSmtpOk)
            delivery.tell(dialogue.Answer());
    }
    return true;
}

} // namespace

std::vector<std::string> RecipientsOf(std::string_view list) {
    std::vector<std::string> recipients;
    std::string const all(list);
    std::vector<char> address(all.size() + 1);
    for (char const *at = all.c_str(); *at;) {
        char const *const rest = ExtractRecipient(at, address.data(), static_cast<int>(address.size()), true);
        // Nothing is taken where an entry has nothing to take: the next one starts after its separator.
        size_t const empty = rest ? 0 : strcspn(at, ",;");
        at = rest ? rest : at + empty + (at[empty] ? 1 : 0);
        if (rest && strnlen(address.data(), 2) > 1)
            recipients.emplace_back(address.data());
    }
    return recipients;
}

Outcome DeliverOverSmtp(SmtpDelivery &delivery) {
    Stream &stream = delivery.stream;
    Dialogue dialogue(stream);
    // kept: no server is told this program's host name.
    if (!dialogue.ReadAnswer() || !dialogue.Ask("HELO localhost") ||
        !dialogue.Ask("MAIL FROM: <" + delivery.sender + ">") || !NameRecipients(delivery, dialogue) ||
        !dialogue.Ask("DATA"))
        return LossOfSending(stream);
    bool taken = false;
    if (dialogue.Number() == kStartInput) {
        if (!SendText(stream, delivery.writeMessage, &delivery.finalDotSent) || !dialogue.ReadAnswer())
            return LossOfSending(stream);
        taken = IsTaken(dialogue.Number());
    }
    stream.WriteLine("QUIT");
    return taken ? Outcome() : Refused(dialogue.Answer());
}
