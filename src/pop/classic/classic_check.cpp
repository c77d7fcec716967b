#include "pop/classic/classic_check.h"

#include "base/paths.h"
#include "base/text.h"
#include "mime/headers.h"
#include "net/connection.h"
#include "net/session_lock.h"
#include "pop/dialogue.h"
#include "pop/fetch.h"
#include "store/folder.h"

#include <cstdio>
#include <vector>

namespace {

/// A server that claims a mailbox and then has no message for so many numbers in a row is not asked on.
constexpr int kMostMissing = 1000;
/// The server may have hung up long ago: its answer to a goodbye is not waited for as long as others.
constexpr std::chrono::seconds kGoodbyeSilence{10};
/// How long a stopped check may still take to end its session properly, so that what is stored is not fetched again.
constexpr auto kGrace = std::chrono::seconds(1);

using Clock = std::chrono::steady_clock;

/// An audible signal on the terminal.
void RingBell() {
    printf("%c", 7);
    fflush(stdout);
}

/// Ends a connection left from before: every check sees a fresh list of the server's messages.
void DropOldConnection(MailProfile &profile, StopPredicate const &stopped) {
    if (StreamOf(profile)) {
        std::shared_ptr<Stream> const stream = profile.stream;
        StopScope const scope(*stream, stopped);
        stream->BearSilence(kGoodbyeSilence);
        std::string reply;
        PopAsk(*stream, "QUIT", reply);
    }
    CloseConnection(profile);
}

class Session {
  public:
    Session(MailProfile &profile, CheckObserver &observer, StopPredicate const &stopped)
        : profile_(profile), observer_(observer), stopped_(stopped),
          folder_(ConfigRoot() + profile.name + "/" + kInbox) {}

    Outcome Run() {
        OpenedStream opened = OpenStream(profile_.popServer, kPop3, stopped_);
        if (!opened.outcome)
            return std::move(opened.outcome);
        SetStream(profile_, std::move(opened.stream));
        stream_ = profile_.stream;
        StopScope const scope(*stream_, [this] { return MustStop(); });
        if (!Start())
            return Close();
        int64_t const fresh = int64_t{count_} - profile_.serverMessageCount;
        observer_.Counted(fresh);
        if (fresh > 0 && profile_.LeavesMailOnServer())
            ListHeaders();
        else if (fresh > 0)
            FetchMessages();
        observer_.Ended();
        if (outcome_.ending == Ending::kLost || outcome_.ending == Ending::kStopped)
            CloseConnection(profile_);
        return std::move(outcome_);
    }

  private:
    /// For the stream. Once something is stored the session gets a moment to end as it should.
    bool MustStop() {
        if (!stopped_ || !stopped_())
            return false;
        if (stored_.empty())
            return true;
        auto const now = Clock::now();
        if (stopAt_ == Clock::time_point())
            stopAt_ = now + kGrace;
        return now >= stopAt_;
    }

    Outcome Close() {
        CloseConnection(profile_);
        return std::move(outcome_);
    }

    /// One command. False when the connection is lost or the check stopped, which is the outcome then.
    bool Ask(std::string const &command) {
        PopReply const result = PopAsk(*stream_, command, reply_);
        if (result == PopReply::kOk || result == PopReply::kRefused)
            return true;
        outcome_ = OutcomeOf(result, reply_);
        return false;
    }

    /// Logs in and asks for the number of messages.
    bool Start() {
        outcome_ = LogIn(*stream_, profile_.userName, profile_.password);
        if (!outcome_ || !Ask("STAT"))
            return false;
        if (!StartsWithNoCase(reply_, "+OK ")) {
            outcome_ = Refused(""); // kept: a refused STAT is not told
            return false;
        }
        count_ = DecimalPrefix(std::string_view(reply_).substr(4));
        return true;
    }

    void AddRow(char const *text, bool stored, int32_t number) {
        char row[kRowWidth + 1]; // shown as it is stored
        observer_.Row(FormatHeaderRow(text, row, sizeof row), stored, number);
    }

    /// Lists the headers of the messages that are new; they stay on the server and the connection stays open.
    void ListHeaders() {
        int missing = 0;
        for (int number = profile_.serverMessageCount + 1; number <= count_; number++) {
            FetchedHeader const header = FetchHeader(*stream_, number);
            bool const refused = header.outcome.ending == Ending::kRefused;
            missing = refused ? missing + 1 : 0;
            if (missing > kMostMissing)
                outcome_ = Refused("The mail server has no headers for its messages");
            else if (!header.outcome && !refused)
                outcome_ = header.outcome; // what was not listed without a connection is new at the next check
            if (!outcome_)
                return;
            observer_.Listing(number, count_);
            AddRow(refused ? nullptr : header.text.c_str(), false, number);
            profile_.serverMessageCount++;
        }
        observer_.Say("");
        RingBell();
    }

    static std::string Staying(int number, char const *why) {
        return "Message " + std::to_string(number) + " " + why + ", it stays on the server";
    }

    /// Moves one message into the Inbox. False when the check ends with it.
    bool TakeMessage(int number) {
        FetchedMessage const message = FetchMessage(*stream_, number);
        if (message.outcome.ending == Ending::kRefused || message.outcome.ending == Ending::kFailed)
            outcome_ = {message.outcome.ending, Staying(number, "could not be fetched")};
        else
            outcome_ = message.outcome;
        if (!outcome_)
            return false;
        int32_t const stored = AppendMessage(folder_.c_str(), message.text);
        if (stored < 0) {
            outcome_ = Failed(Staying(number, "could not be stored"));
            return false;
        }
        AddRow(message.text.c_str(), true, stored);
        stored_.push_back(stored);
        if (!message.whole)
            observer_.Say(Staying(number, "may be incomplete"));
        bool const goesOn = !message.whole || Ask("DELE " + std::to_string(number));
        profile_.serverMessageCount++;
        return goesOn;
    }

    /// The server deletes at QUIT and not before (RFC 1939 6). What is not safely on disk by then must stay there, so
    /// without a sync the connection ends without a QUIT.
    void Finish() {
        if (!stored_.empty() && !SyncFolder(folder_.c_str(), stored_.data(), static_cast<int>(stored_.size()))) {
            CloseConnection(profile_);
            outcome_ = Failed("The messages could not be stored safely, they stay on the server");
            return;
        }
        Outcome const before = outcome_;
        if (Ask("QUIT") || before.ending == Ending::kStopped)
            outcome_ = before;
    }

    /// Moves all messages into the Inbox. After a stop between two messages, and after one that could not be had, the
    /// session still ends as it should; in the middle of a reply it cannot.
    void FetchMessages() {
        bool usable = true;
        for (int number = 1; outcome_ && number <= count_; number++)
            if (stopped_ && stopped_())
                outcome_ = Stopped();
            else if (!TakeMessage(number))
                usable = outcome_.ending == Ending::kRefused || outcome_.ending == Ending::kFailed;
        if (usable)
            Finish();
        if (!stored_.empty())
            RingBell();
    }

    MailProfile &profile_;
    CheckObserver &observer_;
    StopPredicate const &stopped_;
    std::string const folder_;
    std::shared_ptr<Stream> stream_;
    Outcome outcome_;
    std::string reply_;
    int count_ = 0;               ///< messages on the server
    std::vector<int32_t> stored_; ///< numbers in the Inbox
    Clock::time_point stopAt_;    ///< when a stopped session is cut off
};

} // namespace

Outcome ClassicCheckMail(MailProfile &profile, CheckObserver &observer, StopPredicate const &stopped) {
    SessionLock const lock(profile, stopped);
    profile.checkWaiting = false;
    if (!lock.Held())
        return Stopped();
    DropOldConnection(profile, stopped);
    return Session(profile, observer, stopped).Run();
}
