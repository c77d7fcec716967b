#include "news/header_download.h"

#include "base/log.h"
#include "base/text.h"
#include "names/widgets.h"
#include "news/answer_copy.h"
#include "news/article_rows.h"
#include "news/download_run.h"
#include "news/news_files.h"
#include "news/nntp_ask.h"
#include "news/number_list.h"
#include "news/overview.h"
#include "widgets/toolkit.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <optional>

namespace {

using Clock = std::chrono::steady_clock;

constexpr int32_t kHeadFollows = 221;
constexpr int kProgressLines = 50;
/// To wait for the paint of every progress text would take longer than the download.
constexpr auto kPaintPeriod = std::chrono::milliseconds(40);
/// A server that sends this many lines more than the range can have, or this much in all, has no end. No more rows
/// than the last come in one go: a server may claim any number of articles, and memory ends.
constexpr int64_t kMoreLines = 100'000;
constexpr int64_t kMostRows = 4'000'000;
constexpr size_t kLargestOverview = size_t{2} << 30;
constexpr size_t kLargestHead = size_t{16} << 20;

bool IsGood(int32_t code) { return code / 100 == 2; }
/// RFC 3977 6.1.4, 6.2.2: 420 no current article, 421 no next one, 423 none of that number.
bool IsNoArticle(int32_t code) { return code / 10 == 42; }

/// The number behind a status line's code.
int32_t NumberIn(std::string_view answer) {
    return DecimalPrefix(answer.substr(std::min(answer.find(' '), answer.size())));
}

class Download {
  public:
    Download(int socket, NewsProfile &profile, int32_t count, int32_t total, DownloadStart const &start)
        : socket_(socket), profile_(profile), count_(count), total_(total), start_(start) {}
    int Run();
    /// After a failed run: why, when the person shall know.
    std::string const &Problem() const { return problem_; }

  private:
    bool Stopped() const { return gone_ || profile_.downloadTicket != start_.ticket; }
    NntpReader Reader() const {
        return AnswerReader(socket_, [this] { return Stopped(); });
    }
    /// A connection with half an answer on it is of no use to anybody.
    int Drop(char const *problem) {
        DropNewsConnection(profile_, socket_);
        return Fail(problem);
    }
    int Fail(std::string const &problem) {
        if (!Stopped()) {
            LogError("Headers of %s: %s", profile_.currentGroup, problem.c_str());
            problem_ = problem;
        }
        return -1;
    }
    int32_t AskForHead(std::string &answer);
    bool PlaceCursor();
    bool FindEnd();
    void EnterLibrary();
    int TakeOverview(NntpReader &reader);
    bool TakeLine(std::string_view line);
    bool TooMuch(NntpReader const &reader) const;
    void ShowProgress();

    int socket_;
    NewsProfile &profile_;
    int32_t count_, total_;
    DownloadStart start_;
    int32_t end_ = 0; ///< the range's last article
    int64_t mostLines_ = 0;
    int64_t counted_ = 1; ///< lines; the status line is one
    bool gone_ = false;   ///< the list was freed
    std::string problem_;
    Clock::time_point painted_{};
};

/// Asks for the current article's head and reads it to its end. Returns the answer's number, -1 when there is no
/// whole answer.
int32_t Download::AskForHead(std::string &answer) {
    NntpReader reader = Reader();
    int32_t const code = AskNews(reader, socket_, "HEAD", answer);
    std::string_view line;
    while (code == kHeadFollows && line != ".")
        if (reader.Received() > kLargestHead || !reader.ReadLine(line, kOverviewWidth))
            return -1;
    return code;
}

/// Lets the server say which article it stands at. Reading an article moves it, and so it never takes a group that
/// was begun back to what was downloaded.
bool Download::PlaceCursor() {
    std::string answer;
    int32_t code = AskForHead(answer);
    if (code >= 0 && !IsGood(code)) {
        NntpReader reader = Reader();
        code = AskNews(reader, socket_, "NEXT", answer);
    }
    if (code < 0) {
        if (!Stopped())
            perror("getnewsheaders: select() 1");
        Drop(ReasonOf(AnswerEnd::kLost));
    }
    // The group is at its end, or empty: nothing new. Any other refusal the person shall know, and another connection
    // may do better.
    if (code >= 0 && !IsGood(code) && !IsNoArticle(code))
        Drop(answer.c_str());
    if (!IsGood(code))
        return false;
    if (int32_t const number = NumberIn(answer); number > 0)
        profile_.articleCursor =
            profile_.headersDone > 0 ? std::max<int32_t>(profile_.articleCursor, number) : number;
    return true;
}

/// Where the range ends. False when the numbers of the group are not known.
bool Download::FindEnd() {
    if (count_ < 1) {
        end_ = profile_.lastArticle;
        mostLines_ = std::max<int64_t>(0, int64_t{end_} - profile_.articleCursor);
    } else {
        std::string const path = NumberListPath(profile_.name, profile_.currentGroup);
        std::optional<int32_t> const end = EndOfBatch(path, profile_.articleCursor, count_);
        if (!end)
            return false;
        end_ = *end;
        mostLines_ = count_;
    }
    mostLines_ = std::min(mostLines_ + kMoreLines, kMostRows);
    return true;
}

void Download::EnterLibrary() {
    PtEnter(0);
    gone_ = gone_ || headerListAge != start_.listAge || !ABW_treeMessageHeaders;
}

/// Shows how far it is, and lets the main thread have the library: a fast server never leaves a gap for it.
void Download::ShowProgress() {
    SetStatus("rcvd " + std::to_string(counted_) + " of " + std::to_string(total_));
    if (Clock::now() - painted_ < kPaintPeriod)
        return;
    PtFlush();
    PtLeave(0);
    EnterLibrary();
    painted_ = Clock::now();
}

bool Download::TakeLine(std::string_view line) {
    OverviewLine const article = ParseOverviewLine(line);
    if (article.number != 0)
        profile_.articleCursor = article.number;
    profile_.headersDone++;
    if (!AddArticleRow(ABW_treeMessageHeaders, article))
        return false;
    if (++counted_ % kProgressLines == 0)
        ShowProgress();
    return true;
}

bool Download::TooMuch(NntpReader const &reader) const {
    return counted_ > mostLines_ || reader.Received() >= kLargestOverview;
}

/// Reads the overview into rows. The library is left only while the server has nothing to read.
int Download::TakeOverview(NntpReader &reader) {
    reader.beforeWait = [] { PtLeave(0); };
    reader.afterWait = [this] { EnterLibrary(); };
    BeginArticleRows();
    std::string_view line;
    while (!Stopped() && !TooMuch(reader) && reader.ReadLine(line, kOverviewWidth) && !Stopped()) {
        if (line == ".") {
            if (lastHeaderItem)
                PtGenTreeShow(ABW_treeMessageHeaders, &lastHeaderItem->gen);
            return 1;
        }
        if (!TakeLine(line))
            return Drop("Not enough memory for the headers");
    }
    return Drop(ReasonOf(TooMuch(reader) ? AnswerEnd::kTooLarge : AnswerEnd::kLost));
}

int Download::Run() {
    if (profile_.lastArticle == 0 || count_ == 0)
        return 1;
    if (!PlaceCursor())
        return -1;
    if (!FindEnd()) {
        SetStatus("Done.");
        return -1;
    }
    std::string const command = "XOVER " + std::to_string(profile_.articleCursor) + "-" + std::to_string(end_);
    std::string answer;
    NntpReader reader = Reader();
    int32_t const code = AskNews(reader, socket_, command, answer);
    if (code < 0) {
        if (!Stopped()) {
            perror("getnewsheaders: select() 2");
            SetStatus("Done.");
        }
        return Drop(ReasonOf(AnswerEnd::kLost));
    }
    // Behind any other answer no line comes.
    if (!IsGood(code))
        return Fail(answer);
    EnterLibrary();
    int const result = TakeOverview(reader);
    PtLeave(0);
    return result;
}

} // namespace

DownloadStart StartOfDownload(NewsProfile const &profile) { return {profile.downloadTicket, headerListAge}; }

int DownloadHeaders(int socket, NewsProfile &profile, int32_t count, int32_t total, DownloadStart const &start,
                    std::string &problem) {
    Download download(socket, profile, count, total, start);
    int const result = download.Run();
    problem = download.Problem();
    return result;
}

int getnewsheaders(int socket, NewsProfile &profile, int32_t count, int32_t total) {
    PtEnter(0);
    DownloadStart const start = StartOfDownload(profile);
    PtLeave(0);
    std::string problem;
    return DownloadHeaders(socket, profile, count, total, start, problem);
}
