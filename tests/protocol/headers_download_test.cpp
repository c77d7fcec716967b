// The header download against scripted servers: the dialogue byte for byte, the threads, and what is shown.

#include "fixtures/news_scripts.h"
#include "pop/check_widgets.h"
#include "protocol/news_fixture.h"

#include <algorithm>
#include <unistd.h>

namespace {

using namespace std::string_literals;

/// An overview line of the article <number>, without its end.
std::string Line(int number, std::string const &references = "") {
    std::string const text = std::to_string(number);
    return text + "\tSubject " + text + "\ta@b\ttoday\t<" + text + ">\t" + references + "\t100\t2";
}

constexpr char kGroup[] = "test.general";

/// A download that stops with its first row.
Script const kStalls =
    Group(kGroup, {1, 2, 3}) + Head(1) + Script{Expect("XOVER 1-3"), Send("224\r\n" + Line(1) + "\r\n"), Stall()};

class Headers : public NewsTest {
  protected:
    void Open(std::vector<Script> const &scripts) {
        Serve(scripts);
        OpenInWindow();
    }
    /// The rows after an overview answer with these lines.
    std::string RowsOf(std::vector<std::string> const &lines, size_t piece = 0) {
        Open({Group(kGroup, {1, 2, 3}, piece) + Head(1, piece) + Xover("1-3", lines, piece)});
        return Download();
    }
    /// Starts a download that stalls.
    void StartStalled() {
        Start();
        ASSERT_TRUE(screen.PaintUntil([] { return Outline() == "1"; }));
    }
};

TEST_F(Headers, ThreadsBuildUpBatchAfterBatch) {
    Open({Group(kGroup, {1, 2, 3, 5, 9}) + Head(1) +
          Xover("1-9", {Line(1), Line(2, "<0> <1>"), Line(3, "<1>"), Line(5, "<1> <2>"), Line(9, "<gone>")}) +
          Head(1) + Xover("9-9", {Line(9, "<1>"), Line(10, "<9>"), Line(11, "no brackets"), Line(12, "<11>")})});
    EXPECT_EQ(Download(), "1 >2 >>5 >3 9");
    EXPECT_EQ(Text(0), "\tSubject 1\ta@b\ttoday\t<1>\t\t100\t2");
    EXPECT_EQ(screen.Painted(), (std::vector<std::string>{"Connecting to news server|0", "opening group|0",
                                                          "Downloading headers|0", "|0"}));
    EXPECT_EQ(profile->articleCursor, 9);
    EXPECT_EQ(profile->headersDone, 5);
    EXPECT_EQ(profile->batchSize, 500);
    EXPECT_STREQ(profile->currentGroup, "test.general");
    // The server still stands at 1. Whatever it sends twice comes twice; its first row keeps the answers.
    EXPECT_EQ(Download(), "1 >2 >>5 >3 >9 9 >10 11 12");
    EXPECT_EQ(profile->headersDone, 9);
    EXPECT_EQ(server->Problems(), "");
    ToolkitGuard const guard;
    auto const *const answer = reinterpret_cast<PtTreeItem_t *>(PtTreeRootItem(ABW_treeMessageHeaders)->gen.son);
    auto const *const row = static_cast<ArticleRow *>(answer->data);
    EXPECT_EQ(row->header.origin, kArticle);
    EXPECT_STREQ(row->messageId, "<2>");
    EXPECT_STREQ(&row->references[0], "<0> <1>");
}

TEST_F(Headers, CountsAndRangesAreExact) {
    std::vector<int> numbers;
    std::vector<std::string> lines;
    for (int number = 2; number <= 1400; number += 2)
        numbers.push_back(number);
    for (int number = 2; number <= 202; number += 2)
        lines.push_back(Line(number));
    Open({Group(kGroup, numbers) + Head(2) + Xover("2-8", {}) + Head(40) + Xover("40-44", lines) + Head(2)});
    Start();
    EXPECT_EQ(screen.Status(), "The headers cannot be asked for"); // there is no window to ask in
    ExpectIdle();
    auto const get = [&](int count) {
        int result = 0;
        screen.RunWorker([&] { result = getnewsheaders(profile->serverSocket, *profile, count, 700); });
        return result;
    };
    EXPECT_EQ(get(0), 1); // nothing is asked
    EXPECT_EQ(get(3), 1);
    EXPECT_EQ(get(1), 1);
    auto const &painted = screen.Painted();
    EXPECT_NE(std::find(painted.begin(), painted.end(), "rcvd 50 of 700|0"), painted.end());
    EXPECT_EQ(screen.Status(), "rcvd 100 of 700"); // the status line is one of them
    EXPECT_EQ(profile->articleCursor, 202);
    unlink(NumberListPath("usenet", kGroup).c_str());
    EXPECT_EQ(get(5), -1);
    EXPECT_EQ(screen.Status(), "Done.");
    profile->lastArticle = 0;
    EXPECT_EQ(get(5), 1);
    EXPECT_EQ(server->Problems(), "");
}

TEST_F(Headers, AMovedOrMissingCurrentArticle) {
    std::string const longHead(200'000, 'x');
    Script const away = Answer("HEAD", "503 Too long away") + Answer("NEXT", "503 Too long away");
    Open({Group(kGroup, {3, 4, 5}) + Answer("HEAD", "420 Gone") + Answer("NEXT", "223 4 <4>") +
              Xover("4-5", {Line(4)}) + Script{Expect("HEAD"), Send("221 5 <5>\r\n" + longHead + "\r\n..\r\n.\r\n")} +
              Xover("5-5", {Line(5)}) + Answer("HEAD", "423 No") + Answer("NEXT", "421 No next") + Head(5) +
              Answer("XOVER 5-5", "423 No articles in that range") + away,
          Group(kGroup, {5}) + Head(5) + Xover("5-5", {Line(5)})});
    EXPECT_EQ(Download(), "4");
    EXPECT_EQ(Download(), "4 5");
    EXPECT_EQ(Download(), "4 5");
    EXPECT_EQ(screen.Status(), ""); // there is nothing new
    EXPECT_EQ(Download(), "4 5");
    EXPECT_EQ(screen.Status(), "423 No articles in that range");
    EXPECT_EQ(Download(), "4 5");
    EXPECT_EQ(screen.Status(), "503 Too long away");
    EXPECT_EQ(Download(), "5"); // on a new connection
    EXPECT_EQ(server->Problems(), "");
}

TEST_F(Headers, FailedStartsSayWhyAndNewConnectionsBeginAnew) {
    Script const whole = Group(kGroup, {1, 2}) + Head(1) + Xover("1-2", {Line(1), Line(2, "<1>")});
    Open({Answer("GROUP test.general", "411 No such group here") + Script{Stall()}, whole, whole});
    EXPECT_EQ(Download(), "");
    EXPECT_EQ(screen.Status(), "411 No such group here");
    for (int connection = 0; connection < 2; connection++) {
        Disconnect();
        EXPECT_EQ(Download(), "1 >2");
    }
    EXPECT_EQ(server->Problems(), "");
    Disconnect();
    server.reset();
    EXPECT_EQ(Download(), "1 >2"); // those that were there
    EXPECT_EQ(screen.Status(), "Could not connect to the news server");
}

TEST_F(Headers, LinesOfAnyKind) {
    EXPECT_EQ(RowsOf({"7", "", "no tabs at all", "-5\tnegative", "99999999999\thuge", "4\t\xff\xfe 8-bit", "4\tagain",
                      "3\tnul\0gone"s, "2\tcr\rgone", "1\t" + std::string(1'000'000, 'x'),
                      "6\tonly\tfour\tfields\t<6>", Line(8, "<6>"), "9\ts\tf\td\t<" + std::string(300, 'i') + ">\t\t",
                      Line(10, "<" + std::string(300, 'i') + ">")}),
              "7 0 0 -5 2147483647 4 4 3 2 1 6 >8 9 >10");
    std::vector<std::string> const texts{
        "7", "", "no tabs at all", "\tnegative", "\thuge", "\t\xff\xfe 8-bit", "\tagain", "\tnul", "\tcr"};
    for (size_t row = 0; row < texts.size(); row++)
        EXPECT_EQ(Text(row), texts[row]);
    EXPECT_EQ(Text(9).size(), 4999u);
    EXPECT_EQ(profile->articleCursor, 10);
}

TEST_F(Headers, SplitAnywhere) {
    for (size_t const piece : {1, 2, 7})
        EXPECT_EQ(RowsOf({Line(1), Line(2, "<1>"), Line(3)}, piece), "1 >2 3") << piece;
}

TEST_F(Headers, DeepAndWideThreads) {
    std::vector<std::string> lines{Line(1)};
    for (int i = 2; i <= 20'000; i++)
        lines.push_back(Line(i, i <= 10'000 ? "<" + std::to_string(i - 1) + ">" : "<1>"));
    std::string const rows = RowsOf(lines);
    EXPECT_NE(rows.find(" " + std::string(9'999, '>') + "10000 >10001 >10002"), std::string::npos);
    EXPECT_TRUE(rows.ends_with(" >20000"));
}

TEST_F(Headers, AServerThatGoesAtAnyStep) {
    Script cut;
    for (Step const &step : Group(kGroup, {1, 2}) + Head(1) + Xover("1-2", {Line(1), Line(2)})) {
        if (step.kind == Step::kSend) {
            std::string const some = step.text.substr(0, step.text.size() - 2);
            Open({cut + Script{Reset()}, cut + Script{Send(some)}});
            for (int connection = 0; connection < 2; connection++) {
                Download();
                EXPECT_LT(profile->serverSocket, 1);
                EXPECT_EQ(screen.Status(), "Lost the connection to the news server");
            }
        }
        cut.push_back(step);
    }
    EXPECT_EQ(Outline(), "1 2"); // what came before the end stays
    EXPECT_TRUE(shownAlerts.empty());
}

TEST_F(Headers, AnAnswerWithoutEnd) {
    Open({Group(kGroup, {1, 2}) + Head(1) +
              Script{Expect("XOVER 1-2"), Send("224\r\n"), Flood("1\tx\r\n", 30'000'000)},
          Group(kGroup, {1, 2}) + Script{Expect("HEAD"), Send("221 1\r\n"), Flood("x\r\n", 100'000'000)}});
    Start();
    EXPECT_TRUE(WaitForEnd());
    EXPECT_EQ(screen.Rows().size(), 100'500u);
    EXPECT_LT(profile->serverSocket, 1);
    EXPECT_EQ(Download(), "");
    EXPECT_LT(profile->serverSocket, 1);
}

TEST_F(Headers, AStoppedDownloadLeavesTheNewOneAlone) {
    Open({kStalls, kStalls, Group(kGroup, {1, 2, 3}) + Head(1) + Xover("1-3", {Line(1), Line(2, "<1>")})});
    StartStalled();
    Start(); // a second click on the group
    EXPECT_EQ(RunningDownloads(), 1);
    screen.RunCallback([&] {
        StopDownload(*profile);
        SetStatus("something newer");
    });
    EXPECT_TRUE(WaitForEnd());
    EXPECT_EQ(screen.Status(), "something newer");
    ExpectIdle();
    // The next download begins in the callback that stops this one.
    StartStalled();
    screen.RunCallback([&] {
        StopDownload(*profile);
        FreeHeaderList();
        StartNewsThread();
    });
    EXPECT_TRUE(WaitForEnd());
    EXPECT_EQ(Outline(), "1 >2");
    EXPECT_EQ(screen.Status(), "");
    ExpectIdle();
    EXPECT_EQ(server->Problems(), "");
}

TEST_F(Headers, ADownloadBlocksForItselfAndEndsWithItsList) {
    Open({kStalls});
    screen.RunCallback(BlockCheckWidgets);
    StartStalled();
    EXPECT_TRUE(IsBlocked(ABW_btnDelete));
    screen.RunCallback(UnblockCheckWidgets);
    EXPECT_TRUE(IsBlocked(ABW_btnCheckEmail));
    EXPECT_FALSE(IsBlocked(ABW_treeProfiles));
    screen.RunCallback(BlockCheckWidgets);
    screen.RunCallback(FreeHeaderList);
    EXPECT_TRUE(WaitForEnd());
    EXPECT_EQ(Outline(), "");
    EXPECT_LT(profile->serverSocket, 1);
    EXPECT_TRUE(IsBlocked(ABW_btnCheckEmail));
    EXPECT_FALSE(IsBlocked(ABW_btnDelete));
    screen.RunCallback(UnblockCheckWidgets);
    ExpectIdle();
}

} // namespace
