#include "compose/send/classic/posting_dialogue.h"

#include "base/log.h"
#include "base/text.h"
#include "compose/send/classic/dialogue.h"

namespace {

constexpr int kSendArticle = 340, kLoginWanted = 480, kLoggedIn = 281;
constexpr std::chrono::seconds kGoodbyeSilence{10};

/// Commands and their answers of one line.
class Dialogue {
  public:
    explicit Dialogue(Stream &stream) : stream_(stream) {}

    bool ReadAnswer() { return ReadReplyLine(stream_, answer_); }
    bool Ask(std::string const &command) {
        return !stream_.Stopped() && stream_.WriteLine(command) > 0 && ReadAnswer();
    }
    int32_t Number() const { return DecimalPrefix(answer_); }
    std::string const &Answer() const { return answer_; }

  private:
    Stream &stream_;
    std::string answer_;
};

/// The server's words for anything but a goodbye are worth no wait.
Outcome SayGoodbye(Stream &stream, Outcome outcome) {
    std::string goodbye;
    stream.BearSilence(kGoodbyeSilence);
    if (stream.WriteLine("QUIT") > 0)
        ReadReplyLine(stream, goodbye);
    return outcome;
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
        // kept: this line ends twice, the first time in a bare LF.
        sink.Put("REFERENCES: ");
        sink.Put(header.references);
        sink.Put("\n\r\n");
    }
    sink.Put("\r\n");
}

Outcome PostOverNntp(NntpPosting &posting) {
    Stream &stream = posting.stream;
    Dialogue dialogue(stream);
    if (!dialogue.ReadAnswer() || !dialogue.Ask("POST"))
        return LossOfSending(stream);
    if (dialogue.Number() == kLoginWanted) {
        if (!dialogue.Ask(std::string("AUTHINFO USER ") + posting.userName) ||
            !dialogue.Ask(std::string("AUTHINFO PASS ") + posting.password))
            return LossOfSending(stream);
        if (dialogue.Number() != kLoggedIn) {
            posting.tell(dialogue.Answer());
            return Refused("Could not authenticate to server");
        }
        if (!dialogue.Ask("POST"))
            return LossOfSending(stream);
    }
    if (dialogue.Number() != kSendArticle) {
        posting.mayNotPost = true;
        return SayGoodbye(stream, Refused(dialogue.Answer()));
    }
    if (!SendText(stream, posting.writeArticle) || !dialogue.ReadAnswer())
        return LossOfSending(stream);
    stream.WriteLine("QUIT");
    return IsTaken(dialogue.Answer()) ? Outcome() : Refused(dialogue.Answer());
}
