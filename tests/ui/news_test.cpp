// The way of a reader: a news profile is made, the server's groups are fetched, one is found and subscribed to, its
// threads come up and an article is read; next time it is all there again. On a real server, with and without login.

#include "fixtures/inn_server.h"
#include "fixtures/temp_home.h"
#include "news/header_download.h"
#include "ui/person.h"
#include "ui/sample.h"
#include "widgets/open_profile.h"

#include <QTest>
#include <QTreeView>

#include <filesystem>
#include <gtest/gtest.h>

namespace fs = std::filesystem;

namespace {

constexpr int kArticles = 520;

std::string Article(int number) {
    std::string const id = std::to_string(number);
    bool const answer = number % 2 == 0;
    return "From: Writer " + id + " <writer@example.org>\nNewsgroups: test.general\nSubject: " +
           (answer ? "Re: Matter " + std::to_string(number - 1) : "Matter " + id) +
           "\nDate: Mon, 02 Nov 2026 10:00:00 +0000\nMessage-ID: <" + id + "@example.org>\n" +
           (answer ? "References: <" + std::to_string(number - 1) + "@example.org>\n" : "") + "\nThe words of " + id +
           ".\n.profile is a file.\n..\nThe end of " + id + ".\n";
}

/// All articles as one batch.
std::string Articles() {
    std::string batch;
    for (int number = 1; number <= kArticles; number++) {
        std::string const article = Article(number);
        batch += "#! rnews " + std::to_string(article.size()) + "\n" + article;
    }
    return batch;
}

/// The rows of the header list, all levels.
int RowCount() { return static_cast<int>(Rows("treeMessageHeaders").size()); }

bool Downloaded(int rows) {
    return WaitFor([=] { return RunningDownloads() == 0 && RowCount() == rows; }, 60000);
}

void MakeProfileByHand(std::string const &server) {
    ChooseFromMenuBar("mnuSettings_NewsAccounts");
    Click("btnNewNewsAccount");
    Type("txtNewsAccount_AccountName", "usenet");
    Type("txtNewsAccount_NEWSServer", QString::fromStdString(server));
    Type("txtNewsAccount_Username", "alice");
    Type("txtNewsAccount_Password", "secret");
    Type("txtNewsAccount_Fullname", "Alice Archer");
    Type("txtNewsAccount_Email", "alice@example.org");
    Click("btnSaveNewsAccount");
    Click("btnCloseNewsAccounts");
}

void SubscribeByHand() {
    ChooseFromRowMenu("treeProfiles", "usenet", {"News", "Un/Subscribe"});
    Find("dlgNews");
    Click("btnGetNewsListing");
    EXPECT_TRUE(Rows("treeNews").contains("|test.other")) << Text("lblNewsHint").toStdString();
    Type("txtNewsFind", "general");
    Press("txtNewsFind", Qt::Key_Return);
    ClickRow("treeNews", "test.general");
    Click("btnCloseNews");
    EXPECT_EQ(Rows("treeProfiles"), (QStringList{"usenet", "test.general"}));
    EXPECT_TRUE(fs::exists(Root() + "news/usenet/groups/test.general "));
}

/// Opens the group from the tree, up to the question.
void OpenGroup() {
    ClickRow("treeProfiles", "test.general");
    Find("dlgDownloadNewsPrompt");
    EXPECT_EQ(Text("lblTotalNewsMessages"), QString::number(kArticles));
    EXPECT_EQ(Text("numNewsCount"), "500");
}

void ReadAnArticle() {
    ClickRow("treeMessageHeaders", "Re: Matter 3|");
    ASSERT_TRUE(WaitFor([] { return Text("webEmailMessage").contains("The words of 4."); }))
        << Text("lblStatus").toStdString();
    EXPECT_TRUE(Text("webEmailMessage").contains("\n.profile is a file.\n..\nThe end of 4."))
        << "as it was written: " << Text("webEmailMessage").toStdString();
    EXPECT_TRUE(FileText(Root() + ".tmp/originalmsg").ends_with("The end of 4.\r\n"));
    EXPECT_FALSE(fs::exists(Root() + "news/usenet/tmp"));
    TakePicture("base", "news-article.png");
    int const rows = RowCount();
    Press("treeMessageHeaders", Qt::Key_Delete);
    ChooseFromMenuBar("mnuMessage_Delete");
    EXPECT_EQ(RowCount(), rows) << "nobody deletes what others have written";
}

class News : public testing::Test {
  protected:
    void SetUp() override {
        ClearTempHome();
        fs::create_directories(Root() + ".tmp"); // a second start has it
        fs::permissions(Root(), fs::perms::owner_all);
    }

    void Journey(std::vector<std::string> const &options) {
        InnServer server(options);
        if (server.MayNotRun())
            GTEST_SKIP() << "the news server may not run here";
        ASSERT_GT(server.Port(), 0);
        ASSERT_TRUE(server.Put(Articles()));
        Sitting([&] {
            MakeProfileByHand(server.Address());
            SubscribeByHand();
            OpenGroup();
            TakePicture("dlgDownloadNewsPrompt", "news-prompt.png");
            Type("numNewsCount", "10");
            Press("numNewsCount", Qt::Key_Return);
            EXPECT_FALSE(IsShown("dlgDownloadNewsPrompt"));
            ASSERT_TRUE(Downloaded(11)) << RowCount();
            auto const *const list = qobject_cast<QTreeView *>(Find("treeMessageHeaders"));
            EXPECT_EQ(list->model()->rowCount(), 6) << "answers hang below what they answer";
            // The arrow in front of the subject opens a thread.
            QRect const subject = list->visualRect(list->model()->index(1, 1));
            QTest::mouseClick(list->viewport(), Qt::LeftButton, {},
                              subject.center() - QPoint(subject.width() / 2 + 8, 0));
            EXPECT_TRUE(list->isExpanded(list->model()->index(1, 0)));
            EXPECT_FALSE(list->currentIndex().isValid()) << "which selects nothing";
            TakePicture("base", "news-group.png");
            ReadAnArticle();
            // The next batch, by the button and by another click on the group.
            // Each begins with the last article of the one before.
            Click("btnCheckEmail");
            ASSERT_TRUE(Downloaded(11 + 501)) << RowCount();
            ClickRow("treeProfiles", "test.general");
            ASSERT_TRUE(Downloaded(11 + 501 + 10)) << RowCount();
            EXPECT_EQ(Text("lblStatus"), "");
        });
        Sitting([] {
            ASSERT_EQ(Rows("treeProfiles"), (QStringList{"usenet", "test.general"}));
            OpenGroup();
            Click("tlgDownloadAll");
            Click("btnDownloadNewsPrompt_OK");
            ASSERT_TRUE(Downloaded(kArticles)) << RowCount();
            ClickRow("treeProfiles", "usenet");
            EXPECT_EQ(RowCount(), 0) << "a profile by itself has nothing to show";
            EXPECT_LT(CurrentNewsProfile()->serverSocket, 1);
            ChooseFromRowMenu("treeProfiles", "usenet", {"News", "Un/Subscribe"});
            ClickRow("treeNews", "test.general");
            Click("btnCloseNews");
            EXPECT_EQ(Rows("treeProfiles"), QStringList("usenet"));
        });
    }
};

TEST_F(News, FromTheProfileToTheArticleAndBack) { Journey({}); }
TEST_F(News, TheSameWhereTheServerWantsALogin) { Journey({"--access", "required"}); }

} // namespace
