#include "news/session/headers.h"

#include "base/text.h"
#include "news/session/group.h"
#include "news/session/news_files.h"
#include "news/session/number_list.h"

#include <algorithm>
#include <utility>

namespace {

/// A server that sends this many lines more than the range can have, or this much in all, has no end. No more rows
/// than the last come in one go: a server may claim any number of articles, and memory ends.
constexpr int64_t kMoreLines = 100'000;
constexpr int64_t kMostRows = 4'000'000;
constexpr size_t kLargestOverview = size_t{2} << 30;
constexpr size_t kLargestHead = size_t{16} << 20;

/// The number after a status line's code.
int32_t NumberIn(std::string_view answer) {
    return DecimalPrefix(answer.substr(std::min(answer.find(' '), answer.size())));
}

class Download {
  public:
    Download(NewsSession &session, int32_t count, OverviewSink &sink)
        : session_(session), profile_(session.Profile()), count_(count), sink_(sink) {}
    NewsOutcome Run();

  private:
    NewsOutcome Close(Outcome end) {
        session_.Close();
        return {std::move(end)};
    }
    NntpReply AskForHead();
    NewsOutcome PlaceCursor(bool &placed);
    Outcome FindEnd();
    Outcome TakeLines();
    Outcome TakeLine(std::string_view line);
    Outcome ReadLine(Stream &wire, std::string_view &line);

    NewsSession &session_;
    NewsProfile &profile_;
    int32_t count_;
    OverviewSink &sink_;
    int32_t end_ = 0; ///< the range's last article
    int64_t mostLines_ = 0;
    int64_t lines_ = 0;
    bool started_ = false; ///< the sink takes lines
};

/// Asks for the current article's head and reads it to its end.
NntpReply Download::AskForHead() {
    NntpReply reply = session_.Ask("HEAD");
    if (reply.code != kHeadFollows)
        return reply;
    Stream &wire = *session_.Wire();
    size_t const most = wire.Received() + kLargestHead;
    for (std::string_view line; line != ".";)
        if (wire.Received() > most || !wire.ReadLine(line, kOverviewWidth)) {
            NntpReply const none = NoNntpReply(wire);
            session_.Close();
            return none;
        }
    return reply;
}

/// Lets the server say which article it stands at. Reading an article moves it, and so it never takes a group that
/// was started back to what was downloaded. `placed` stays false when there is nothing to download.
NewsOutcome Download::PlaceCursor(bool &placed) {
    NntpReply reply = AskForHead();
    if (session_.WasIdle()) {
        if (NewsOutcome end = ReopenGroup(session_); !end)
            return end;
        reply = AskForHead();
    }
    if (reply.Came() && !reply.IsGood())
        reply = session_.Ask("NEXT");
    if (!reply.Came()) {
        if (!session_.Stopped())
            PrintLoss("getnewsheaders: select() 1", reply);
        return {session_.Loss()};
    }
    if (reply.IsNoArticle())
        return {}; // the group is at its end, or empty
    // The user is told of any other refusal, and another connection may do better.
    if (!reply.IsGood())
        return Close(Refused(reply.line));
    if (int32_t const number = NumberIn(reply.line); number > 0)
        profile_.articleCursor =
            profile_.headersDone > 0 ? std::max<int32_t>(profile_.articleCursor, number) : number;
    placed = true;
    return {};
}

/// Where the range ends.
Outcome Download::FindEnd() {
    if (count_ < 1) {
        end_ = profile_.lastArticle;
        mostLines_ = std::max<int64_t>(0, int64_t{end_} - profile_.articleCursor);
    } else {
        std::string const path = NumberListPath(profile_.name, profile_.currentGroup);
        std::optional<int32_t> const end = EndOfBatch(path, profile_.articleCursor, count_);
        if (!end)
            return profile_.noNumbers.empty() ? Failed("The numbers of the group's articles could not be read")
                                              : Refused(profile_.noNumbers);
        end_ = *end;
        mostLines_ = count_;
    }
    mostLines_ = std::min(mostLines_ + kMoreLines, kMostRows);
    return {};
}

Outcome Download::TakeLine(std::string_view line) {
    OverviewLine const article = ParseOverviewLine(line);
    // kept: a line without a number has the one before it.
    if (article.number)
        profile_.articleCursor = *article.number;
    profile_.headersDone++;
    lines_++;
    return sink_.Take(article, profile_.articleCursor);
}

/// The next line; the sink pauses while the server has none to read.
Outcome Download::ReadLine(Stream &wire, std::string_view &line) {
    if (started_ && !wire.LineArrived())
        sink_.Pause();
    started_ = started_ && wire.HasLine();
    if (!wire.ReadLine(line, kOverviewWidth))
        return session_.Loss();
    if (!std::exchange(started_, true) && !sink_.Start())
        return Stopped();
    return session_.Stopped() ? Stopped() : Outcome();
}

/// Reads the lines of the overview, whose status line was read, to their end.
Outcome Download::TakeLines() {
    Stream &wire = *session_.Wire();
    size_t const most = wire.Received() + kLargestOverview;
    Outcome end;
    for (std::string_view line; end;) {
        if (lines_ >= mostLines_ || wire.Received() >= most)
            end = Failed("The news server's answer is too large");
        else
            end = ReadLine(wire, line);
        if (end && line == ".")
            break;
        if (end)
            end = TakeLine(line);
    }
    if (started_)
        sink_.Pause();
    return end;
}

NewsOutcome Download::Run() {
    if (profile_.lastArticle == 0 || count_ == 0)
        return {};
    bool placed = false;
    NewsOutcome end = PlaceCursor(placed);
    if (end && placed)
        end = {FindEnd()};
    if (!end || !placed)
        return end;
    // kept: the range starts with the article that the last one ended with, which comes twice.
    NntpReply const reply =
        session_.Ask("XOVER " + std::to_string(profile_.articleCursor) + "-" + std::to_string(end_));
    if (!reply.Came()) {
        if (!session_.Stopped())
            PrintLoss("getnewsheaders: select() 2", reply);
        return {session_.Loss()};
    }
    // After any other answer no line comes.
    if (!reply.IsGood())
        return {Refused(reply.line)};
    Outcome lines = TakeLines();
    return lines ? NewsOutcome{std::move(lines)} : Close(std::move(lines));
}

} // namespace

NewsOutcome FetchHeaders(NewsSession &session, int32_t count, OverviewSink &sink) {
    return Download(session, count, sink).Run();
}
