#include "pop/delete_message.h"

#include "base/text.h"
#include "net/connection.h"

#include <string>

namespace {

constexpr size_t kDeleteReplyWidth = 1000;

/// One command and its reply. False when none came.
bool Ask(Stream &stream, std::string const &command, Outcome &outcome) {
    std::string_view reply;
    if (stream.WriteLine(command) <= 0 || stream.ReadClassicLine(reply, kDeleteReplyWidth - 1) <= 0)
        return false;
    if (outcome && !StartsWithNoCase(reply, "+OK"))
        outcome = Refused(reply.empty() ? "The mail server did not delete the message" : std::string(reply));
    return true;
}

} // namespace

Outcome DeleteOnServer(MailProfile &profile, int32_t number, StopPredicate const &stopped) {
    Stream *const stream = StreamOf(profile);
    if (!stream)
        return Lost("The connection was lost; the message is still on the server");
    stream->StopWhen(stopped);
    Outcome outcome;
    bool const marked = Ask(*stream, "DELE " + std::to_string(number), outcome);
    bool const ended = marked && Ask(*stream, "QUIT", outcome);
    bool const wasStopped = stream->Stopped();
    CloseConnection(profile);
    if (ended)
        return outcome;
    if (wasStopped)
        return Stopped();
    if (marked && outcome)
        return Lost("The connection was lost; the message may still be on the server");
    return outcome ? Lost("The connection was lost; the message is still on the server") : outcome;
}
