#include "news/session/connection.h"

OpenedStream OpenNewsStream(char const *server, StopPredicate const &stopped) {
    OpenedStream opened = OpenStream(server, kNntp, stopped);
    if (!opened.outcome)
        return opened;
    opened.stream->StopWhen(stopped);
    NntpReply const greeting = ReadNntpReply(*opened.stream);
    opened.stream->StopWhen({});
    if (greeting.Came())
        return opened;
    if (stopped && stopped())
        return {nullptr, Stopped()};
    PrintLoss("httpget: select()", greeting);
    return {nullptr, Failed("The news server does not answer")};
}

NewsSession::NewsSession(NewsProfile &profile, StopPredicate stopped)
    : profile_(profile), stopped_(std::move(stopped)) {
    if (Stream *const wire = Wire())
        wire->StopWhen(stopped_);
}

NewsSession::~NewsSession() {
    if (Stream *const wire = Wire())
        wire->StopWhen({});
}

Outcome NewsSession::Connect() {
    CloseConnection(profile_);
    OpenedStream opened = OpenNewsStream(profile_.server, stopped_);
    if (!opened.outcome)
        return opened.outcome;
    opened.stream->StopWhen(stopped_);
    SetStream(profile_, std::move(opened.stream));
    fresh_ = true;
    return {};
}

NntpReply NewsSession::Ask(std::string const &command) {
    Stream *const wire = Wire();
    NntpReply reply = wire ? AskNntp(*wire, command) : NntpReply{.closed = true};
    idle_ = reply.closed || reply.IsFarewell();
    if (!reply.Came())
        Close();
    return reply;
}
