#include "news/session/nntp.h"

#include "base/text.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string_view>

namespace {

/// RFC 3977 3.1 allows 512 bytes.
constexpr size_t kReplyLine = 1000;

} // namespace

Outcome NewsLoss(bool stopped) { return stopped ? Stopped() : Lost("Lost the connection to the news server"); }

NntpReply NoNntpReply(Stream const &stream) {
    return {.closed = stream.State() == StreamState::kClosed || stream.State() == StreamState::kFailed};
}

NntpReply ReadNntpReply(Stream &stream) {
    std::string_view line;
    if (stream.ReadLine(line, kReplyLine))
        return {std::max(0, DecimalPrefix(line)), std::string(line)};
    return NoNntpReply(stream);
}

NntpReply AskNntp(Stream &stream, std::string command) {
    stream.DropArrived();
    bool const sent = stream.WriteLine(command) > 0;
    explicit_bzero(command.data(), command.size()); // it may hold a password
    return sent ? ReadNntpReply(stream) : NoNntpReply(stream);
}

NewsOutcome LogInToNews(Stream &stream, NewsLogin const &login) {
    NntpReply reply = AskNntp(stream, std::string("AUTHINFO USER ") + login.userName);
    // kept: whatever the server says to the name, it gets the password.
    if (reply.Came())
        reply = AskNntp(stream, std::string("AUTHINFO PASS ") + login.password);
    if (reply.code == kLoggedIn)
        return {};
    // kept: a refusal is told twice, in the server's words and in ours.
    constexpr char kNoLogin[] = "Could not authenticate to server";
    if (reply.Came())
        return {Refused(reply.line), {reply.line, kNoLogin}};
    if (stream.Stopped())
        return {Stopped()};
    return {NewsLoss(false), {kNoLogin}};
}

void PrintLoss(char const *where, NntpReply const &reply) {
    errno = reply.closed ? ECONNRESET : ETIMEDOUT;
    perror(where);
}
