// Opening a group and downloading its headers, as the main window shows it: the threads, the status, what is blocked,
// and what a stop or another choice leaves. Dialogues are in tests/dialogues/nntp/session.txt.

#include "base/fd.h"
#include "fixtures/news_scripts.h"
#include "names/widgets.h"
#include "net/connection.h"
#include "news/article_rows.h"
#include "news/header_download.h"
#include "news/nntp.h"
#include "protocol/news_account.h"
#include "protocol/screen.h"
#include "widgets/activity.h"
#include "widgets/open_profile.h"
#include "widgets/operation.h"
#include "widgets/toolkit.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <memory>
#include <numeric>

namespace {

constexpr char kGroup[] = "test.general";
using Alerts = std::vector<std::string>;
/// As a mail check does.
void SetCheckBlocks(bool blocked) {
    for (PtWidget_t *widget : {ABW_treeProfiles, ABW_treeMessageHeaders, ABW_btnCheckEmail, ABW_mnuFile_Check})
        SetBlockedBy(kCheckBlocks, widget, blocked);
}
void BlockCheckWidgets() { SetCheckBlocks(true); }
void UnblockCheckWidgets() { SetCheckBlocks(false); }

/// An overview line of the article <number>, without its end.
std::string Line(int number, std::string const &references = "") {
    std::string const text = std::to_string(number);
    return text + "\tSubject " + text + "\ta@b\ttoday\t<" + text + ">\t" + references + "\t100\t2";
}

/// A download that stalls with its first row.
Script const kStalls =
    Group(kGroup, {1, 2, 3}) + Head(1) + Script{Expect("XOVER 1-3"), Send("224\r\n" + Line(1) + "\r\n"), Stall()};
Script const kWhole = Group(kGroup, {1, 2}) + Head(1) + Xover("1-2", {Line(1), Line(2, "<1>")});

class Headers : public testing::Test {
  protected:
    void TearDown() override { CopyText(currentFolder, "Inbox"); }

    /// A new account on a server that plays each script on a connection of its own, after a greeting. The window
    /// shows its group.
    void Open(std::vector<Script> scripts) {
        for (Script &script : scripts)
            script.insert(script.begin(), Send("200 Welcome\r\n"));
        server = std::make_unique<ScriptedServer>(scripts);
        profile = MakeNewsProfile(server->Address());
        screen.AddProfile(*profile, true);
        CopyText(currentFolder, kGroup);
    }
    void Disconnect() {
        screen.RunCallback([&] { CloseConnection(*profile); });
    }
    void Start() { screen.RunCallback(StartNewsThread); }
    bool WaitForEnd() {
        bool const over = screen.PaintUntil([] { return RunningDownloads() == 0 && RunningOperations() == 0; });
        screen.RunWorker([] {}); // what the worker has left to the main loop
        screen.RunCallback([] { PtFlush(); });
        return over;
    }
    /// Starts a download that stalls.
    void StartStalled() {
        Start();
        ASSERT_TRUE(screen.PaintUntil([] { return Outline() == "1"; }));
    }
    /// One press of the check button. Returns the rows.
    std::string Download() {
        Start();
        EXPECT_TRUE(WaitForEnd());
        EXPECT_EQ(LockValue(*profile), 1);
        ExpectIdle();
        return Outline();
    }
    static bool IsBlocked(PtWidget_t *widget) {
        ToolkitGuard const guard;
        return (PtWidgetFlags(widget) & Pt_BLOCKED) != 0;
    }
    static void ExpectIdle() {
        ToolkitGuard const guard;
        EXPECT_EQ(ActivityCount, 0);
        EXPECT_FALSE(IsBlocked(ABW_btnCheckEmail));
        EXPECT_FALSE(IsBlocked(ABW_btnDelete));
    }
    /// The numbers of all rows in the order of the list, a ">" for each level: "1 >2 3".
    static std::string Outline() {
        ToolkitGuard const guard;
        std::string text;
        PtGenTreeItem_t *item = PtGenTreeRootItem(ABW_treeMessageHeaders);
        for (size_t depth = 0; item;) {
            int32_t const number = RowOf(reinterpret_cast<PtTreeItem_t *>(item))->number;
            text += (text.empty() ? "" : " ") + std::string(depth, '>') + std::to_string(number);
            if (item->son) {
                item = item->son;
                depth++;
                continue;
            }
            for (; item && !item->brother; depth--)
                item = item->father;
            item = item ? item->brother : nullptr;
        }
        return text;
    }
    Screen screen;
    std::unique_ptr<ScriptedServer> server;
    AccountRef<NewsProfile> profile;
};

TEST_F(Headers, ThreadsBuildUpBatchAfterBatch) {
    std::string const longId = "<" + std::string(300, 'i') + ">";
    Open({Group(kGroup, {1, 2, 3, 5, 9}) + Head(1) +
          Xover("1-9", {Line(1), Line(2, "<0> <1>"), Line(3, "<1>"), Line(5, "<1> <2>"), Line(9, "<gone>")}) +
          Head(1) +
          Xover("9-9", {Line(9, "<1>"), Line(10, "<9>"), Line(11, "no brackets"), Line(12, "<11>"),
                        "13\ts\tf\td\t" + longId + "\t\t", Line(14, longId), "15\tonly\tfour\tfields\t<15>",
                        Line(16, "<15>")})});
    EXPECT_EQ(Download(), "1 >2 >>5 >3 9");
    EXPECT_EQ(screen.Rows().at(0).text, "\tSubject 1\ta@b\ttoday\t<1>\t\t100\t2");
    EXPECT_EQ(screen.Painted(), (std::vector<std::string>{"Connecting to news server|0", "opening group|0",
                                                          "Downloading headers|0", "|0"}));
    EXPECT_EQ(profile->headersDone, 5);
    EXPECT_EQ(profile->batchSize, 500);
    EXPECT_STREQ(profile->currentGroup, kGroup);
    // The server still stands at 1. Whatever it sends twice comes twice; its first row keeps the answers.
    EXPECT_EQ(Download(), "1 >2 >>5 >3 >9 9 >10 11 12 13 >14 15 >16");
    EXPECT_EQ(server->Problems(), "");
    ToolkitGuard const guard;
    auto const *const answer = reinterpret_cast<PtTreeItem_t *>(PtTreeRootItem(ABW_treeMessageHeaders)->gen.son);
    auto const *const row = static_cast<ArticleRow *>(answer->data);
    EXPECT_EQ(row->header.origin, kArticle);
    EXPECT_STREQ(row->messageId, "<2>");
    EXPECT_STREQ(&row->references[0], "<0> <1>");
}

TEST_F(Headers, DeepAndWideThreadsAndHowFarTheyAre) {
    std::vector<std::string> lines{Line(1)};
    for (int i = 2; i <= 20'000; i++)
        lines.push_back(Line(i, i <= 10'000 ? "<" + std::to_string(i - 1) + ">" : "<1>"));
    Open({Group(kGroup, {1, 2, 3}) + Head(1) + Xover("1-3", lines)});
    std::string const rows = Download();
    EXPECT_NE(rows.find(" " + std::string(9'999, '>') + "10000 >10001 >10002"), std::string::npos);
    EXPECT_TRUE(rows.ends_with(" >20000"));
    auto const &painted = screen.Painted();
    EXPECT_NE(std::find(painted.begin(), painted.end(), "rcvd 50 of 0|0"), painted.end());
}

TEST_F(Headers, FailedStartsSayWhyAndNewConnectionsStartAgain) {
    Script const refused = Answer("GROUP test.general", "480 Login") + Answer("AUTHINFO USER alice", "381 More") +
                           Answer("AUTHINFO PASS secret", "481 <b>%s%n</b>");
    std::vector<int> many(700);
    std::iota(many.begin(), many.end(), 1);
    Open({Answer("GROUP test.general", "411 No such group here") + Script{Stall()}, refused + Script{Stall()}, kWhole,
          kWhole, Group(kGroup, many)});
    EXPECT_EQ(Download(), "");
    EXPECT_EQ(screen.Status(), "411 No such group here");
    Disconnect();
    EXPECT_EQ(Download(), "");
    EXPECT_EQ(shownAlerts, (Alerts{"Error|481 <b>%s%n</b>", "Error|Could not authenticate to server"}));
    for (int connection = 0; connection < 2; connection++) {
        Disconnect();
        EXPECT_EQ(Download(), "1 >2");
    }
    Disconnect();
    EXPECT_EQ(Download(), "");
    EXPECT_EQ(screen.Status(), "The headers cannot be asked for"); // there is no window to ask in
    Disconnect();
    EXPECT_EQ(server->Problems(), "");
    server.reset();
    Download();
    EXPECT_EQ(screen.Status(), "Could not connect to the news server");
}

TEST_F(Headers, AStoppedOrReplacedDownloadLeavesTheNextOneAlone) {
    Open({kStalls, Answer("GROUP test.other", "211 1 1 1") + Script{Stall()}, kStalls, kStalls, kWhole});
    StartStalled();
    Start(); // a second click on the group
    EXPECT_EQ(RunningDownloads(), 1);
    screen.RunCallback(StopOperations);
    EXPECT_TRUE(WaitForEnd());
    EXPECT_EQ(screen.Status(), "Stopped");
    ExpectIdle();
    // Another group goes ahead of one whose numbers do not come, and that one says nothing more.
    screen.RunCallback([] {
        CopyText(currentFolder, "test.other");
        FreeHeaderList();
        StartNewsThread();
    });
    ASSERT_TRUE(screen.PaintUntil([&] { return server->Received().ends_with("LISTGROUP\r\n"); }));
    screen.RunCallback([&] {
        CopyText(currentFolder, kGroup);
        StartNewsThread();
    });
    ASSERT_TRUE(screen.PaintUntil([] { return RunningDownloads() == 1 && Outline() == "1"; }));
    EXPECT_EQ(screen.Status(), "Downloading headers");
    // A group that is left says nothing, either.
    screen.RunCallback([&] {
        StopOperation(OperationKind::kGroup);
        CopyText(currentFolder, "Inbox");
        SetStatus("something newer");
        FreeHeaderList();
    });
    EXPECT_TRUE(WaitForEnd());
    EXPECT_EQ(screen.Status(), "something newer");
    EXPECT_EQ(Outline(), "");
    // The next download starts in the callback that stops this one.
    CopyText(currentFolder, kGroup);
    StartStalled();
    screen.RunCallback([&] {
        StopOperation(OperationKind::kGroup);
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
    screen.RunCallback([] {
        FreeHeaderList();
        StopOperation(OperationKind::kGroup);
    });
    EXPECT_TRUE(WaitForEnd());
    EXPECT_EQ(Outline(), "");
    EXPECT_LT(profile->serverSocket, 1);
    EXPECT_TRUE(IsBlocked(ABW_btnCheckEmail));
    EXPECT_FALSE(IsBlocked(ABW_btnDelete));
    screen.RunCallback(UnblockCheckWidgets);
    ExpectIdle();
}

/// The calls under the names that the interface gives them: results and alerts.
TEST_F(Headers, CallsOfTheInterface) {
    Script const login = Answer("AUTHINFO USER alice", "381 More") + Answer("AUTHINFO PASS secret", "481 No");
    Open({login, Answer("LIST", "215 Groups") + Answer("LIST", "a.one 3 1 y\r\n."), Answer("LIST", "480 Who") + login,
          Group(kGroup, {5, 7}) + Head(5) + Xover("5-7", {Line(5)}) +
              Answer("ARTICLE 5", "220 5\r\nFrom: a\r\n\r\n.") + Answer("GROUP no.such", "411 No such group")});
    std::string const address = server->Address(), path = ConfigRoot() + "list";
    EXPECT_EQ(NntpAuthinfo(Fd(httpget(address.c_str())).Get(), "alice", "secret"), 481);
    EXPECT_EQ(getnewsgrouplisting(Fd(httpget(address.c_str())).Get(), path.c_str(), "alice", "secret"), 1);
    EXPECT_EQ(FileText(path), "a.one 3 1 y");
    EXPECT_EQ(getnewsgrouplisting(Fd(httpget(address.c_str())).Get(), path.c_str(), "alice", "secret"), -1);
    EXPECT_EQ(shownAlerts, (Alerts{"Error|481 No", "Error|481 No", "Error|Could not authenticate to server"}));
    profile->serverSocket = httpget(address.c_str());
    EXPECT_EQ(selectnewsgroup(profile->serverSocket, *profile, kGroup, "alice", "secret"), 5);
    int headers = 0;
    screen.RunWorker([&] { headers = getnewsheaders(profile->serverSocket, *profile, -1, 0); });
    EXPECT_EQ(headers, 1);
    EXPECT_EQ(Outline(), "5");
    EXPECT_STREQ(GetNewsArticle(profile->serverSocket, *profile, 5).get(), "From: a\r\n\r\n.\r\n");
    EXPECT_EQ(selectnewsgroup(profile->serverSocket, *profile, "no.such", "alice", "secret"), -1);
    CloseConnection(*profile);
    EXPECT_EQ(server->Problems(), "");
    EXPECT_EQ(httpget("127.0.0.1:1"), -1);
    EXPECT_EQ(screen.Status(), "Could not connect to the news server");
}

} // namespace
