// A news server that wants to hurt, in front of the real main window: what it sends is shown or refused in bounded
// time, the window can be used, it says what happened, and nothing is written outside of the profile's directory.

#include "fixtures/news_scripts.h"
#include "fixtures/temp_home.h"
#include "news/header_download.h"
#include "ui/person.h"
#include "ui/sample.h"
#include "widgets/open_profile.h"

#include <QElapsedTimer>
#include <QWidget>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <numeric>
#include <set>

namespace fs = std::filesystem;

namespace {

constexpr int kShownWithin = 30'000; ///< milliseconds, under a sanitizer on a busy machine
constexpr char kGroup[] = "%s%n<b>x";

std::string Profile() { return Root() + "news/usenet/"; }

/// Everything below the directory that holds the home, but for what the program writes on its own and the files of
/// the news profile.
std::set<std::string> FilesOutside() {
    std::set<std::string> names;
    fs::path const place = fs::path(TempHome()).parent_path();
    for (fs::directory_entry const &entry : fs::directory_iterator(place))
        names.insert(entry.path());
    for (fs::directory_entry const &entry : fs::recursive_directory_iterator(TempHome())) {
        std::string const path = entry.path();
        if (!path.starts_with(Profile()) && !path.starts_with(Root() + ".tmp"))
            names.insert(path);
    }
    return names;
}

/// A connection on which the group is opened, with articles 1 to `last`, up to the overview.
Script Open(int last) {
    std::vector<int> numbers(static_cast<size_t>(last));
    std::iota(numbers.begin(), numbers.end(), 1);
    return Script{Send("200 ready\r\n")} + Group(kGroup, numbers) + Head(1);
}

struct Article {
    std::string number, subject, text, shown, status;
    size_t flood = 0; ///< bytes that follow, and no end
};

std::vector<Article> HostileArticles() {
    std::string const head = "From: a\r\nNewsgroups: x\r\nSubject: s\r\n\r\n";
    return {{"1", "<b>bold</b>", head + "before" + std::string(200, '\0') + "behind\r\n", "before", ""},
            {"2", "large", head + "first words\r\n" + std::string(20'000'000, 'x'), "",
             "The message is too large to be shown; its source can be viewed"},
            {"-5", "negative", "", "", "501 <b>what?</b> %s%n"},
            {"6", "endless", head, "", "The news server's answer is too large", size_t{600} << 20}};
}

/// The overview of those articles, and of some that have no fields, no number, no end; then the articles.
Script Serve(std::vector<Article> const &articles) {
    std::vector<std::string> lines{"no tabs at all", "", "7", "8\t" + std::string(1'000'000, 'x'),
                                   "9\t%s%n\t\t\xff\xfe"};
    Script script;
    for (Article const &article : articles) {
        lines.push_back(article.number + "\t" + article.subject + "\ta@b\ttoday\t<" + article.number + ">\t\t100\t2");
        bool const follows = !article.text.empty();
        std::string const end = article.flood ? "" : "\r\n.";
        script = script + Answer("ARTICLE " + article.number,
                                 follows ? "220 follows\r\n" + article.text + end : article.status);
        if (article.flood)
            script.push_back(Flood("and on\r\n", article.flood));
    }
    return Open(9) + Xover("1-9", lines) + script;
}

bool Downloaded(qsizetype rows) {
    return WaitFor([=] { return RunningDownloads() == 0 && Rows("treeMessageHeaders").size() == rows; }, 60'000);
}

TEST(HostileNews, IsShownOrRefusedAndStaysInItsDirectory) {
    std::vector<Article> const articles = HostileArticles();
    ScriptedServer server(Serve(articles));
    ClearTempHome();
    MakeNewsProfile(server.Address(), {kGroup});
    fs::create_directories(Root() + ".tmp");
    std::set<std::string> const before = FilesOutside();
    Sitting([&] {
        int const width = Find("base")->window()->width();
        ClickRow("treeProfiles", kGroup);
        ASSERT_TRUE(Downloaded(static_cast<qsizetype>(articles.size()) + 5)) << Text("lblStatus").toStdString();
        TakePicture("base", "hostile-group.png");
        for (Article const &article : articles) {
            SCOPED_TRACE(article.subject);
            QElapsedTimer time;
            time.start();
            ClickRow("treeMessageHeaders", QString::fromStdString("|" + article.subject + "|"));
            bool const fetched = !article.text.empty() && !article.flood;
            auto const isShown = [&] {
                QString const page = Text("webEmailMessage");
                return fetched ? page.contains(QString::fromStdString(article.shown)) : page.trimmed().isEmpty();
            };
            EXPECT_TRUE(WaitFor(isShown, kShownWithin)) << Text("webEmailMessage").left(300).toStdString();
            EXPECT_EQ(Text("lblStatus").toStdString(), article.status);
            EXPECT_FALSE(fs::exists(Profile() + "tmp"));
            EXPECT_LT(time.elapsed(), kShownWithin);
        }
        EXPECT_EQ(Find("base")->window()->width(), width);
        EXPECT_LT(CurrentNewsProfile()->serverSocket, 1);
    });
    EXPECT_EQ(server.Problems(), "");
    fs::remove_all(TempHome() + "/.config");
    EXPECT_EQ(FilesOutside(), before);
}

TEST(HostileNews, ARefusedLoginIsToldAsItIs) {
    std::string const refusal = "481 <b>%s%n</b> \x01\x7f" + std::string(5000, 'x');
    ScriptedServer server({Send("200 ready\r\n"), Skip(), Send("480 who?\r\n"), Skip(), Send("381 and?\r\n"), Skip(),
                           Send(refusal + "\r\n"), Stall()});
    ClearTempHome();
    MakeNewsProfile(server.Address(), {kGroup});
    Sitting([&] {
        WhenAsked("Close");
        WhenAsked("Close");
        ClickRow("treeProfiles", kGroup);
        ASSERT_EQ(Boxes().size(), 2);
        EXPECT_TRUE(Boxes()[0].startsWith("Error|481 <b>%s%n</b> ")) << Boxes()[0].toStdString();
        EXPECT_EQ(Boxes()[1], "Error|Could not authenticate to server");
        EXPECT_EQ(RunningDownloads(), 0);
    });
}

/// Whatever the download waits for, the window can be used, other groups can be opened, and it closes at once.
TEST(HostileNews, ASilentServerLeavesTheWindowUsable) {
    Script const whole = Open(3) + Answer("XOVER 1-3", "224 follows\r\n1\tone\ta\tb\t<1>\t\t1\t1");
    for (size_t steps : {size_t{6}, whole.size() - 1, whole.size()}) {
        SCOPED_TRACE(steps);
        Script stalled(whole.begin(), whole.begin() + static_cast<long>(steps));
        stalled.push_back(Stall());
        ScriptedServer server({stalled, stalled});
        ClearTempHome();
        MakeNewsProfile(server.Address(), {kGroup});
        auto const start = std::chrono::steady_clock::now();
        Sitting([&] {
            ClickRow("treeProfiles", kGroup);
            Wait(100);
            EXPECT_EQ(Text("lblStatus"), "Downloading headers") << "it says what it waits for";
            ChooseFromMenuBar("mnuHelp_About");
            Click("btnCloseAbout");
            ClickRow("treeProfiles", "usenet"); // the group is left
            EXPECT_TRUE(WaitFor([] { return RunningDownloads() == 0; }));
            EXPECT_EQ(Rows("treeMessageHeaders"), QStringList());
            ClickRow("treeProfiles", kGroup);
            Wait(50);
            EXPECT_EQ(RunningDownloads(), 1);
        });
        EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(40));
    }
}

/// Rows of a profile that was deleted stay until the next folder is opened. They lead nowhere.
TEST(HostileNews, RowsOfADeletedProfileAreHarmless) {
    ScriptedServer server(Open(1) + Xover("1-1", {"1\tone\ta\tb\t<1>\t\t1\t1"}));
    ClearTempHome();
    MakeNewsProfile(server.Address(), {kGroup});
    Sitting([&] {
        ClickRow("treeProfiles", kGroup);
        ASSERT_TRUE(Downloaded(1));
        ChooseFromMenuBar("mnuSettings_NewsAccounts");
        ClickRow("treeNewsAccounts_Accounts", "usenet");
        WhenAsked("Delete it");
        Click("btnDeleteNewsAccount");
        Click("btnCloseNewsAccounts");
        EXPECT_EQ(Rows("treeProfiles"), QStringList());
        EXPECT_FALSE(fs::exists(Profile()));
        EXPECT_FALSE(currentProfile);
        ASSERT_EQ(Rows("treeMessageHeaders").size(), 1);
        ClickRow("treeMessageHeaders", "one");
        EXPECT_TRUE(WaitFor([] { return Text("webEmailMessage").trimmed().isEmpty(); }));
        Press("treeMessageHeaders", Qt::Key_Delete);
        WhenAsked("Close");
        Click("btnReply"); // there is no profile to answer with
        EXPECT_EQ(Boxes().last(), "Error|You must first create an email profile");
        WhenAsked("Close");
        Click("btnCheckEmail");
        EXPECT_EQ(Rows("treeMessageHeaders").size(), 1);
    });
}

} // namespace
