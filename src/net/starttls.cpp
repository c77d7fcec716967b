#include "net/starttls.h"

#include "base/text.h"
#include "net/address.h"
#include "net/local_name.h"

namespace {

constexpr size_t kReplyWidth = 1000;
constexpr int kMostLines = 100;

Outcome NotOffered(std::string const &host) {
    return Failed(host + " does not offer an encrypted connection on this port. Nothing was sent.");
}

Outcome NoAnswer(std::string const &host) { return Lost(host + " does not answer"); }

Outcome AskPop(Stream &stream, std::string const &host) {
    std::string_view line;
    if (!stream.ReadLine(line, kReplyWidth))
        return NoAnswer(host);
    if (!StartsWithNoCase(line, "+OK"))
        return Refused(std::string(line));
    if (stream.WriteLine("STLS") < 0 || !stream.ReadLine(line, kReplyWidth))
        return NoAnswer(host);
    return StartsWithNoCase(line, "+OK") ? Outcome() : NotOffered(host);
}

/// Reads a reply of one or more lines (RFC 5321 4.2.1). Returns its number, -1 when the connection is lost; `offered`
/// tells whether a line after the first was "STARTTLS".
int ReadSmtpReply(Stream &stream, std::string &words, bool &offered) {
    offered = false;
    std::string_view line;
    for (int i = 0; i < kMostLines && stream.ReadLine(line, kReplyWidth); i++) {
        words = line;
        offered = offered || (i > 0 && line.size() > 4 && EqualNoCase(line.substr(4), "STARTTLS"));
        if (line.size() < 4 || line[3] != '-')
            return DecimalPrefix(line);
    }
    return -1;
}

Outcome AskSmtp(Stream &stream, std::string const &host) {
    std::string words;
    bool offered = false;
    int code = ReadSmtpReply(stream, words, offered);
    if (code > 0 && code != 220)
        return Refused(words);
    if (code < 0 || stream.WriteLine("EHLO " + LocalName(stream.Descriptor())) < 0)
        return NoAnswer(host);
    code = ReadSmtpReply(stream, words, offered);
    if (code < 0)
        return NoAnswer(host);
    if (code != 250 || !offered)
        return NotOffered(host);
    bool ignored = false;
    if (stream.WriteLine("STARTTLS") < 0 || (code = ReadSmtpReply(stream, words, ignored)) < 0)
        return NoAnswer(host);
    return code == 220 ? Outcome() : Refused(words);
}

} // namespace

Outcome AskForTls(Stream &stream, int kind, std::string const &host) {
    Outcome const asked = kind == kPop3 ? AskPop(stream, host) : AskSmtp(stream, host);
    return !asked && stream.State() == StreamState::kStopped ? Stopped() : asked;
}

std::string_view GreetingAfterTls(int kind) { return kind == kPop3 ? "+OK\r\n" : "220 -\r\n"; }
