// The header download against scripted servers: the dialogue byte for byte, the threads, and what is shown.

#include "news/header_download.h"

#include "fixtures/inn_server.h"
#include "fixtures/scripted_server.h"
#include "net/server.h"
#include "news/news_files.h"
#include "pop/check_widgets.h"
#include "protocol/news_account.h"
#include "protocol/screen.h"
#include "ui/widgets.h"
#include "widgets/activity.h"
#include "widgets/open_profile.h"
#include "widgets/toolkit.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <memory>
#include <unistd.h>

namespace {

using namespace std::string_literals;

/// An overview line of the article <number>, without its end.
std::string Line(int number, std::string const &references = "") {
    std::string const text = std::to_string(number);
    return text + "\tSubject " + text + "\ta@b\ttoday\t<" + text + ">\t" + references + "\t100\t2";
}

/// Selecting a group that has the articles `numbers`.
Script Group(std::vector<int> const &numbers, size_t piece = 0) {
    std::string const first = std::to_string(numbers.front()), last = std::to_string(numbers.back());
    std::string list = "211 follows\r\n";
    for (int const number : numbers)
        list += std::to_string(number) + "\r\n";
    return {Expect("GROUP test.general"),
            Send("211 " + std::to_string(numbers.size()) + " " + first + " " + last + " test.general\r\n", piece),
            Expect("LISTGROUP"), Send(list + ".\r\n", piece)};
}
Script Head(int number, size_t piece = 0) {
    return {Expect("HEAD"), Send("221 " + std::to_string(number) + " <x>\r\nSubject: x\r\n.\r\n", piece)};
}
Script Xover(std::string const &range, std::vector<std::string> const &lines, size_t piece = 0) {
    std::string answer = "224 follows\r\n";
    for (std::string const &line : lines)
        answer += line + "\r\n";
    return {Expect("XOVER " + range), Send(answer + ".\r\n", piece)};
}

/// Every row as "(depth)number", in the order of the list.
std::string Outline() {
    ToolkitGuard const guard;
    std::string text;
    PtGenTreeItem_t *item = PtGenTreeRootItem(ABW_treeMessageHeaders);
    for (int depth = 0; item;) {
        auto *const row = reinterpret_cast<PtTreeItem_t *>(item);
        text += (text.empty() ? "" : " ") + std::string(static_cast<size_t>(depth), '>') +
                std::to_string(RowOf(row)->number);
        if (item->son) {
            item = item->son;
            depth++;
            continue;
        }
        while (item && !item->brother) {
            item = item->father;
            depth--;
        }
        item = item ? item->brother : nullptr;
    }
    return text;
}

class Headers : public testing::Test {
  protected:
    /// An account with the group open in the window; each script is one connection, after the greeting.
    void Open(std::vector<Script> scripts) {
        for (Script &script : scripts)
            script.insert(script.begin(), Send("200 Welcome\r\n"));
        server = std::make_unique<ScriptedServer>(scripts);
        profile = MakeNewsProfile(server->Address());
        OpenProfile();
    }
    void OpenProfile() {
        screen.AddProfile(*profile, true);
        ToolkitGuard const guard;
        CopyText(currentFolder, "test.general");
    }
    void TearDown() override { CopyText(currentFolder, "Inbox"); }

    void Start() { screen.RunCallback(StartNewsThread); }
    bool WaitForEnd() {
        return screen.PaintUntil([] { return RunningDownloads() == 0; });
    }
    /// One press of the check button. Returns the rows.
    std::string Download() {
        Start();
        EXPECT_TRUE(WaitForEnd());
        EXPECT_EQ(LockValue(*profile), 1);
        ExpectIdle();
        return Outline();
    }
    void ExpectIdle() {
        ToolkitGuard const guard;
        EXPECT_EQ(ActivityCount, 0);
        EXPECT_FALSE(IsBlocked(ABW_btnCheckEmail));
        EXPECT_FALSE(IsBlocked(ABW_btnDelete));
    }
    static bool IsBlocked(PtWidget_t *widget) {
        ToolkitGuard const guard;
        return (PtWidgetFlags(widget) & Pt_BLOCKED) != 0;
    }
    /// The rows after an overview answer with these lines.
    std::string RowsOf(std::vector<std::string> const &lines) {
        Open({Group({1, 2, 3}) + Head(1) + Xover("1-3", lines)});
        return Download();
    }
    std::string Text(size_t row) {
        auto const rows = screen.Rows();
        return row < rows.size() ? rows[row].text : "(none)";
    }

    Screen screen;
    std::unique_ptr<ScriptedServer> server;
    AccountRef<NewsProfile> profile;
};

TEST_F(Headers, ThreadsBuildUpBatchAfterBatch) {
    Open({Group({1, 2, 3, 5, 9}) + Head(1) +
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
    PtTreeItem_t *const answer = reinterpret_cast<PtTreeItem_t *>(PtTreeRootItem(ABW_treeMessageHeaders)->gen.son);
    auto const *const row = static_cast<ArticleRow *>(answer->data);
    EXPECT_EQ(row->header.origin, kArticle);
    EXPECT_STREQ(row->messageId, "<2>");
    EXPECT_STREQ(&row->references[0], "<0> <1>");
}

TEST_F(Headers, CountsAndRangesAreExact) {
    std::vector<int> numbers;
    std::vector<std::string> lines;
    for (int i = 1; i <= 700; i++) {
        numbers.push_back(2 * i);
        if (i <= 101)
            lines.push_back(Line(2 * i));
    }
    Open({Group(numbers) + Head(2) + Xover("2-8", {}) + Head(40) + Xover("40-44", lines)});
    Start();
    EXPECT_EQ(screen.Status(), "The headers cannot be asked for"); // there is no window to ask in
    ExpectIdle();
    int result = 0;
    auto const get = [&](int count) {
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
    profile->lastArticle = 0;
    EXPECT_EQ(get(5), 1);
}

TEST_F(Headers, AMovedOrMissingCurrentArticle) {
    std::string const longHead(200'000, 'x');
    Open({Group({3, 4, 5}) + Script{Expect("HEAD"), Send("420 Gone\r\n"), Expect("NEXT"), Send("223 4 <4>\r\n")} +
          Xover("4-5", {Line(4)}) + Script{Expect("HEAD"), Send("221 5 <5>\r\n" + longHead + "\r\n..\r\n.\r\n")} +
          Xover("5-5", {Line(5)}) +
          Script{Expect("HEAD"), Send("423 No\r\n"), Expect("NEXT"), Send("421 No next\r\n")} + Head(5) +
          Script{Expect("XOVER 5-5"), Send("423 No articles in that range\r\n")} + Head(5) +
          Xover("5-5", {Line(5)})});
    EXPECT_EQ(Download(), "4");
    EXPECT_EQ(Download(), "4 5");
    EXPECT_EQ(Download(), "4 5");
    EXPECT_EQ(Download(), "4 5");
    EXPECT_EQ(Download(), "4 5 5");
    EXPECT_EQ(server->Problems(), "");
}

TEST_F(Headers, ALostNumberListEndsTheDownload) {
    Open({Group({1, 2}) + Head(1) + Xover("1-2", {Line(1)}) + Head(1) + Head(1)});
    EXPECT_EQ(Download(), "1");
    std::string const path = NumberListPath("usenet", "test.general");
    EXPECT_EQ(truncate(path.c_str(), 3), 0);
    EXPECT_EQ(Download(), "1");
    unlink(path.c_str());
    int result = 0;
    screen.RunWorker([&] { result = getnewsheaders(profile->serverSocket, *profile, 500, 0); });
    EXPECT_EQ(result, -1);
    EXPECT_EQ(screen.Status(), "Done.");
    EXPECT_EQ(server->Problems(), "");
}

TEST_F(Headers, FailedStartsSayWhy) {
    Open({{Expect("GROUP test.general"), Send("411 No such group here\r\n"), Stall()},
          Group({1}) + Head(1) + Xover("1-1", {Line(1)})});
    EXPECT_EQ(Download(), "");
    EXPECT_EQ(screen.Status(), "411 No such group here");
    screen.RunCallback([&] { CloseConnection(*profile); });
    EXPECT_EQ(Download(), "1");
    screen.RunCallback([&] { CloseConnection(*profile); });
    server.reset();
    Start();
    EXPECT_EQ(screen.Status(), "Could not connect to the news server");
    EXPECT_EQ(RunningDownloads(), 0);
    ExpectIdle();
    EXPECT_EQ(Outline(), "1");
}

TEST_F(Headers, ANewConnectionBeginsTheListAnew) {
    Script const whole = Group({1, 2}) + Head(1) + Xover("1-2", {Line(1), Line(2, "<1>")});
    Open({whole, whole});
    EXPECT_EQ(Download(), "1 >2");
    screen.RunCallback([&] { CloseConnection(*profile); });
    EXPECT_EQ(Download(), "1 >2");
    EXPECT_EQ(server->Problems(), "");
}

TEST_F(Headers, LinesOfAnyKind) {
    EXPECT_EQ(RowsOf({"7", "", "no tabs at all", "-5\tnegative", "99999999999\thuge", "4\t\xff\xfe 8-bit", "4\tagain",
                      "3\tnul\0gone"s, "2\tcr\rgone", "1\t" + std::string(1'000'000, 'x'),
                      "6\tonly\tfour\tfields\t<6>", Line(8, "<6>"), "9\ts\tf\td\t<" + std::string(300, 'i') + ">\t\t",
                      Line(10, "<" + std::string(300, 'i') + ">")}),
              "7 0 0 -5 2147483647 4 4 3 2 1 6 >8 9 >10");
    EXPECT_EQ(Text(0), "7");
    EXPECT_EQ(Text(1), "");
    EXPECT_EQ(Text(2), "no tabs at all");
    EXPECT_EQ(Text(5), "\t\xff\xfe 8-bit");
    EXPECT_EQ(Text(7), "\tnul");
    EXPECT_EQ(Text(8), "\tcr");
    EXPECT_EQ(Text(9).size(), 4999u);
    EXPECT_EQ(profile->articleCursor, 10);
}

TEST_F(Headers, DeepAndWideThreads) {
    std::vector<std::string> lines{Line(1)};
    for (int i = 2; i <= 20'000; i++)
        lines.push_back(Line(i, i <= 10'000 ? "<" + std::to_string(i - 1) + ">" : "<1>"));
    std::string const rows = RowsOf(lines);
    EXPECT_NE(rows.find(" " + std::string(9'999, '>') + "10000 >10001 >10002"), std::string::npos);
    EXPECT_TRUE(rows.ends_with(" >20000"));
}

TEST_F(Headers, SplitAnywhere) {
    for (size_t const piece : {1, 2, 7}) {
        Open({Group({1, 2, 3}, piece) + Head(1, piece) + Xover("1-3", {Line(1), Line(2, "<1>"), Line(3)}, piece)});
        screen.RunCallback(FreeHeaderList);
        EXPECT_EQ(Download(), "1 >2 3") << piece;
        EXPECT_EQ(server->Problems(), "");
    }
}

TEST_F(Headers, AServerThatGoesAtAnyStep) {
    Script cut;
    for (Step const &step : Group({1, 2}) + Head(1) + Xover("1-2", {Line(1), Line(2)})) {
        if (step.kind == Step::kSend) {
            std::string const some = step.text.substr(0, step.text.size() - 2);
            Open({cut + Script{Reset()}, cut + Script{Send(some)}});
            screen.RunCallback(FreeHeaderList);
            for (int connection = 0; connection < 2; connection++) {
                Download();
                EXPECT_LT(profile->serverSocket, 1);
            }
        }
        cut.push_back(step);
    }
    EXPECT_EQ(Outline(), "1 2"); // what came before the end stays
    EXPECT_TRUE(shownAlerts.empty());
}

TEST_F(Headers, AnAnswerWithoutEnd) {
    Open({Group({1, 2}) + Head(1) + Script{Expect("XOVER 1-2"), Send("224\r\n"), Flood("1\tx\r\n", 30'000'000)},
          Group({1, 2}) + Script{Expect("HEAD"), Send("221 1\r\n"), Flood("x\r\n", 100'000'000)}});
    Start();
    EXPECT_TRUE(WaitForEnd());
    EXPECT_EQ(screen.Rows().size(), 100'500u);
    EXPECT_LT(profile->serverSocket, 1);
    EXPECT_EQ(Download(), "");
    EXPECT_LT(profile->serverSocket, 1);
}

TEST_F(Headers, AStoppedDownloadLeavesTheNewOneAlone) {
    Script const stalls =
        Group({1, 2, 3}) + Head(1) + Script{Expect("XOVER 1-3"), Send("224\r\n" + Line(1) + "\r\n"), Stall()};
    Open({stalls, stalls, Group({1, 2, 3}) + Head(1) + Xover("1-3", {Line(1), Line(2, "<1>")})});
    auto const leave = [&] {
        StopDownload(*profile);
        FreeHeaderList();
        SetStatus("something newer");
    };
    auto const rowCame = [] { return Outline() == "1"; };
    Start();
    ASSERT_TRUE(screen.PaintUntil(rowCame));
    EXPECT_TRUE(IsBlocked(ABW_btnCheckEmail));
    EXPECT_TRUE(IsBlocked(ABW_btnDelete));
    Start(); // a second click on the group
    EXPECT_EQ(RunningDownloads(), 1);
    screen.RunCallback(leave);
    EXPECT_TRUE(WaitForEnd());
    EXPECT_EQ(screen.Status(), "something newer");
    ExpectIdle();
    // The next download begins in the callback that stops this one.
    Start();
    ASSERT_TRUE(screen.PaintUntil(rowCame));
    screen.RunCallback([&] {
        leave();
        StartNewsThread();
    });
    EXPECT_TRUE(WaitForEnd());
    EXPECT_EQ(Outline(), "1 >2");
    EXPECT_EQ(screen.Status(), "");
    ExpectIdle();
    EXPECT_EQ(server->Problems(), "");
}

TEST_F(Headers, AListThatGoesEndsTheDownload) {
    Open({Group({1, 2, 3}) + Head(1) + Script{Expect("XOVER 1-3"), Send("224\r\n" + Line(1) + "\r\n"), Stall()}});
    Start();
    EXPECT_TRUE(screen.PaintUntil([] { return Outline() == "1"; }));
    screen.RunCallback(FreeHeaderList);
    EXPECT_TRUE(WaitForEnd());
    EXPECT_EQ(Outline(), "");
    EXPECT_LT(profile->serverSocket, 1);
    ExpectIdle();
}

TEST_F(Headers, ACheckAndADownloadBlockEachForItself) {
    Open({Group({1}) + Head(1) + Script{Expect("XOVER 1-1"), Send("224\r\n" + Line(1) + "\r\n"), Stall()}});
    screen.RunCallback(BlockCheckWidgets);
    Start();
    screen.RunCallback(UnblockCheckWidgets);
    EXPECT_TRUE(IsBlocked(ABW_btnCheckEmail));
    EXPECT_FALSE(IsBlocked(ABW_treeProfiles));
    screen.RunCallback(BlockCheckWidgets);
    screen.RunCallback([&] { StopDownload(*profile); });
    EXPECT_TRUE(WaitForEnd());
    EXPECT_TRUE(IsBlocked(ABW_btnCheckEmail));
    EXPECT_FALSE(IsBlocked(ABW_btnDelete));
    screen.RunCallback(UnblockCheckWidgets);
    ExpectIdle();
}

std::string Post(int number, std::string const &references) {
    std::string const text = std::to_string(number);
    return "From: Author <a@example.org>\nNewsgroups: test.general\nSubject: Article " + text +
           "\nDate: Mon, 01 Jan 2024 00:00:01 +0000\nMessage-ID: <a" + text + "@example.org>\n" +
           (references.empty() ? "" : "References: " + references + "\n") + "\nHello.\n";
}

TEST_F(Headers, OfARealServer) {
    InnServer inn({"--access", "required"});
    if (inn.MayNotRun())
        GTEST_SKIP() << "INN needs root or user name spaces here";
    ASSERT_GT(inn.Port(), 0);
    EXPECT_TRUE(inn.Put(Post(1, "")));
    EXPECT_TRUE(inn.Put(Post(2, "<a1@example.org>")));
    EXPECT_TRUE(inn.Put(Post(3, "<a1@example.org>\n <a2@example.org>")));
    EXPECT_TRUE(inn.Put(Post(4, "<elsewhere@example.org>")));
    profile = MakeNewsProfile(inn.Address());
    OpenProfile();
    EXPECT_EQ(Download(), "1 >2 >>3 4");
    EXPECT_TRUE(Text(0).starts_with("\tArticle 1\tAuthor <a@example.org>\tMon, 01 Jan 2024 00:00:01 +0000\t"));
    EXPECT_EQ(profile->articleCursor, 4);
    // The current article is gone: the next one is asked for.
    EXPECT_TRUE(inn.Control({"cancel", "<a1@example.org>"}));
    screen.RunCallback([&] { CloseConnection(*profile); });
    EXPECT_EQ(Download(), "2 >3 4");
}

} // namespace
