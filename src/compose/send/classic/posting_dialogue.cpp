#include "compose/send/classic/posting_dialogue.h"

#include "base/log.h"
#include "compose/send/classic/dialogue.h"
#include "news/session/nntp.h"

namespace {

/// How long a server may take for a goodbye that matters to no one.
constexpr std::chrono::seconds kGoodbyeSilence{10};

} // namespace

void WriteArticleHeader(ArticleHeader const &header, MessageSink &sink) {
    for (std::string_view const piece :
         {std::string_view("NEWSGROUPS: "), std::string_view(header.groups), std::string_view("\r\nFROM: "),
          std::string_view(header.from), std::string_view("\r\nSUBJECT: "), std::string_view(header.subject)})
        sink.Put(piece);
    sink.Put("\r\n");
    if (header.references.empty()) {
        LogDebug(0, "NOT SENDING REFERENCE COMMAND\n");
    } else {
        // kept: this line ends twice, the first time in a bare LF.
        sink.Put("REFERENCES: ");
        sink.Put(header.references);
        sink.Put("\n\r\n");
    }
    sink.Put("\r\n");
}

Outcome PostOverNntp(NntpPosting &posting) {
    Stream &stream = posting.stream;
    if (!ReadNntpReply(stream).Came())
        return LossOfSending(stream);
    NntpReply reply = AskNntp(stream, "POST");
    if (reply.code == kLoginNeeded) {
        NewsOutcome const login = LogInToNews(stream, {posting.userName, posting.password});
        if (login.ending == Ending::kRefused) {
            posting.tell(ShownReply(login.text));
            return Refused(login.alerts.back());
        }
        if (!login)
            return LossOfSending(stream);
        reply = AskNntp(stream, "POST");
    }
    if (!reply.Came())
        return LossOfSending(stream);
    if (reply.code != kSendArticle) {
        posting.mayNotPost = true;
        stream.BearSilence(kGoodbyeSilence);
        AskNntp(stream, "QUIT");
        return Refused(ShownReply(reply.line));
    }
    if (!SendText(stream, posting.writeArticle) || !(reply = ReadNntpReply(stream)).Came())
        return LossOfSending(stream);
    stream.WriteLine("QUIT");
    return IsTaken(reply.code) ? Outcome() : Refused(ShownReply(reply.line));
}
