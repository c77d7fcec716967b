#include "compose/send/send_nntp.h"

#include "base/log.h"
#include "base/text.h"
#include "compose/send/sending.h"
#include "net/line_io.h"
#include "news/nntp.h"

namespace {

constexpr int kSendArticle = 340, kLoginWanted = 480, kLoggedIn = 281;

bool ReadAnswer(NntpPosting &posting) {
    char line[kReplyWidth];
    bool const whole = ReadWholeLine(posting.socket, line, sizeof line) > 0;
    posting.answer = whole ? line : "";
    return whole;
}

bool Ask(NntpPosting &posting, char const *command) {
    return !posting.cancelled && WriteServerLine(posting.socket, command) > 0 && ReadAnswer(posting);
}

int32_t Number(NntpPosting const &posting) { return DecimalPrefix(posting.answer); }

NntpEnd TellNotAllowed(NntpPosting const &posting) {
    posting.alert(posting.answer);
    char goodbye[kReplyWidth];
    if (WriteServerLine(posting.socket, "QUIT") > 0)
        ReadWholeLine(posting.socket, goodbye, sizeof goodbye, kKeepAliveSeconds);
    return NntpEnd::kNotAllowed;
}

NntpEnd SendArticle(NntpPosting &posting) {
    if (!posting.writeArticle() || posting.cancelled || !EndMessage(posting.socket))
        return NntpEnd::kLost;
    WaitForFinalAnswer(posting.socket);
    if (!ReadAnswer(posting))
        return NntpEnd::kLost;
    WriteServerLine(posting.socket, "QUIT");
    return IsTaken(Number(posting)) ? NntpEnd::kPosted : NntpEnd::kRefused;
}

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
        // Earlier versions ended this line twice, the first time in a bare LF; their readers know.
        sink.Put("REFERENCES: ");
        sink.Put(header.references);
        sink.Put("\n\r\n");
    }
    sink.Put("\r\n");
}

NntpEnd PostOverNntp(NntpPosting &posting) {
    if (!ReadAnswer(posting) || !Ask(posting, "POST"))
        return NntpEnd::kLost;
    if (Number(posting) == kLoginWanted) {
        int const login = NntpAuthinfo(posting.socket, posting.userName, posting.password);
        if (login < 0 || posting.cancelled)
            return NntpEnd::kLost;
        if (login != kLoggedIn)
            return NntpEnd::kNoLogin;
        if (!Ask(posting, "POST"))
            return NntpEnd::kLost;
    }
    return Number(posting) == kSendArticle ? SendArticle(posting) : TellNotAllowed(posting);
}
