#include "compose/send/send_smtp.h"

#include "base/text.h"
#include "compose/send/sending.h"
#include "mime/headers.h"
#include "net/line_io.h"

#include <algorithm>
#include <cstring>

namespace {

constexpr int kCommandOk = 250;
constexpr int kStartInput = 354;
constexpr int kMostAnswerLines = 1000;
constexpr size_t kMostAnswerText = kReplyWidth;

/// Reads an answer of one or more lines: it ends at the line whose fourth character is no "-" (RFC 5321 4.2.1).
bool ReadAnswer(SmtpDelivery &delivery) {
    delivery.answer.clear();
    char line[kReplyWidth];
    for (int lines = 0; lines < kMostAnswerLines; lines++) {
        if (ReadWholeLine(delivery.socket, line, sizeof line) <= 0)
            return false;
        if (delivery.answer.size() < kMostAnswerText)
            delivery.answer.append(lines ? "\n" : "").append(line);
        if (strnlen(line, 4) < 4 || line[3] != '-')
            return true;
    }
    return false;
}

int32_t Number(SmtpDelivery const &delivery) { return DecimalPrefix(delivery.answer); }

bool Ask(SmtpDelivery &delivery, std::string const &command) {
    return !delivery.cancelled && WriteServerLine(delivery.socket, command.c_str()) > 0 && ReadAnswer(delivery);
}

/// What ends an address or the command it stands in must not stand in an address.
bool IsSendable(std::string_view address) {
    return std::none_of(address.begin(), address.end(),
                        [](unsigned char byte) { return byte < 32 || byte == 127 || byte == '<' || byte == '>'; });
}

bool NameRecipients(SmtpDelivery &delivery) {
    for (std::string const &address : delivery.recipients) {
        if (!IsSendable(address)) {
            delivery.alert("This is no address that mail can be sent to: " + address);
            continue;
        }
        if (!Ask(delivery, "RCPT TO: <" + address + ">"))
            return false;
        if (Number(delivery) != kCommandOk)
            delivery.alert(delivery.answer);
    }
    return true;
}

SmtpEnd Quit(SmtpDelivery const &delivery, SmtpEnd end) {
    WriteServerLine(delivery.socket, "QUIT");
    return end;
}

} // namespace

std::vector<std::string> RecipientsOf(std::string_view list) {
    std::vector<std::string> recipients;
    std::string const all(list);
    std::vector<char> address(all.size() + 1);
    for (char const *at = all.c_str(); *at;) {
        char const *const rest = ExtractRecipient(at, address.data(), static_cast<int>(address.size()), true);
        // Nothing is taken where an entry has nothing to take: the next one begins behind its separator.
        size_t const empty = rest ? 0 : strcspn(at, ",;");
        at = rest ? rest : at + empty + (at[empty] ? 1 : 0);
        if (rest && strnlen(address.data(), 2) > 1)
            recipients.emplace_back(address.data());
    }
    return recipients;
}

SmtpEnd DeliverOverSmtp(SmtpDelivery &delivery) {
    if (!ReadAnswer(delivery) || !Ask(delivery, "HELO localhost") ||
        !Ask(delivery, "MAIL FROM: <" + delivery.sender + ">") || !NameRecipients(delivery) || !Ask(delivery, "DATA"))
        return SmtpEnd::kLost;
    if (Number(delivery) != kStartInput)
        return Quit(delivery, SmtpEnd::kRefused);
    if (!delivery.writeMessage() || delivery.cancelled || !EndMessage(delivery.socket))
        return SmtpEnd::kLost;
    delivery.finalDotSent = true;
    WaitForFinalAnswer(delivery.socket);
    if (!ReadAnswer(delivery))
        return SmtpEnd::kLost;
    return Quit(delivery, IsTaken(Number(delivery)) ? SmtpEnd::kSent : SmtpEnd::kRefused);
}
