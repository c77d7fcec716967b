// The way of an article: a group is opened, an article written, another one answered, and both are found in the
// group.

#include "fixtures/inn_server.h"
#include "fixtures/temp_home.h"
#include "ui/letter.h"
#include "ui/person.h"
#include "ui/sample.h"

#include <QComboBox>
#include <QLineEdit>
#include <QTest>
#include <QTreeView>

#include <gtest/gtest.h>

namespace {

constexpr char kRoot[] = "From: Carol <carol@example.org>\nNewsgroups: test.general,test.other\nSubject: Root\n"
                         "Date: Mon, 02 Nov 2026 10:00:00 +0000\nMessage-ID: <root@example.org>\n\n"
                         "Who reads this?\n";
constexpr char kPrivate[] = "From: Dave <dave@example.org>\nReply-To: Dave <home@example.org>\n"
                            "Newsgroups: test.general\nFollowup-To: poster\nSubject: Private\n"
                            "Date: Mon, 02 Nov 2026 11:00:00 +0000\nMessage-ID: <private@example.org>\n\n"
                            "By mail, please.\n";

bool RowsCome(int count) {
    return WaitFor([=] { return Rows("treeMessageHeaders").size() == count; });
}

void ShowArticle(char const *subject, QString const &word) {
    ClickRow("treeMessageHeaders", subject);
    EXPECT_TRUE(PageShows(word));
}

/// The row above the first one with this subject in its thread; empty at the top.
QString FatherOf(QString const &subject) {
    auto *const tree = qobject_cast<QTreeView *>(Find("treeMessageHeaders"));
    QModelIndexList const found = tree->model()->match(tree->model()->index(0, 1), Qt::DisplayRole, subject, 1,
                                                       Qt::MatchContains | Qt::MatchRecursive);
    return found.isEmpty() ? QStringLiteral("no row")
                           : found[0].parent().siblingAtColumn(1).data().toString().trimmed();
}

class PostingJourney : public testing::Test {
  protected:
    void SetUp() override {
        ClearTempHome();
        if (news.MayNotRun())
            GTEST_SKIP() << "the news server switches users, which takes root";
        ASSERT_GT(news.Port(), 0);
        ASSERT_TRUE(news.Put(kRoot));
        MakeNewsProfile(news.Address(), {"test.general "});
    }
    InnServer news{{"--access", "required"}};
};

TEST_F(PostingJourney, WrittenAnsweredAndFoundInTheGroup) {
    Sitting([] {
        Click("btnCompose");
        EXPECT_EQ(LetterWindow()->windowTitle(), "New Newsgroup Message") << "there are news profiles only";
        EXPECT_EQ(Field(kGroup)->text(), "") << "no group is open";
        Click("pic_btnCancel");

        ClickRow("treeProfiles", "test.general");
        ASSERT_TRUE(RowsCome(1));
        Click("btnCompose");
        EXPECT_EQ(Field(kGroup)->text(), "test.general");
        EXPECT_EQ(qobject_cast<QComboBox *>(Find("pic_DropDown"))->currentText(), "usenet");
        EXPECT_EQ(LetterWindow()->findChildren<QWidget *>(QStringLiteral("pic_btnAddressBook")).size(), 0);
        TypeInto(Field(kArticleSubject), "New thread");
        TypeInto(Find("pic_multiMessage"), "Hello group");
        TakePicture("pic_btnSend", "compose-news.png");
        Click("pic_btnSend");
        ASSERT_TRUE(LetterGoes());

        ShowArticle("Root", "Who reads this?");
        Click("btnReply");
        EXPECT_EQ(LetterWindow()->windowTitle(), "Reply...");
        EXPECT_EQ(Field(kGroup)->text(), "test.general,test.other");
        EXPECT_EQ(Field(kArticleSubject)->text(), "Re:  Root");
        EXPECT_TRUE(Text("pic_multiMessage").contains("\n>Who reads this?"));
        TakePicture("pic_btnSend", "compose-news-reply.png");
        Click("pic_btnSend");
        ASSERT_TRUE(LetterGoes());

        ClickRow("treeProfiles", "usenet");
        ClickRow("treeProfiles", "test.general"); // opened anew, with what has come meanwhile
        ASSERT_TRUE(RowsCome(3));
        EXPECT_EQ(FatherOf("New thread"), "");
        EXPECT_EQ(FatherOf("Re:"), "Root");
        TakePicture("base", "posted.png");
    });
}

TEST_F(PostingJourney, ForwardedOrAnsweredByMail) {
    ASSERT_TRUE(news.Put(kPrivate));
    for (bool const mail : {false, true}) {
        if (mail)
            MakeProfile("127.0.0.1:1", true);
        Sitting([&] {
            ClickRow("treeProfiles", "test.general");
            ASSERT_TRUE(RowsCome(2));
            ShowArticle("Private", "By mail");
            Click("btnReply");
            EXPECT_EQ(Field(kGroup)->text(), mail ? "Dave <home@example.org>" : "");
            EXPECT_EQ(LetterWindow()->windowTitle(), "Reply...");
            EXPECT_EQ(qobject_cast<QComboBox *>(Find("pic_DropDown"))->currentText(), mail ? "home" : "usenet");
            EXPECT_TRUE(mail || Text("lblStatus") == "The author asks for an answer by mail");
            DiscardLetter();

            Click("btnForward");
            EXPECT_EQ(LetterWindow()->windowTitle(), "Forward...");
            EXPECT_EQ(Field(kGroup)->text(), "");
            EXPECT_EQ(Field(kArticleSubject)->text(), "Fwd:  Private");
            EXPECT_TRUE(Text("pic_multiMessage").contains("\n>By mail"));
            DiscardLetter();
        });
    }
}

} // namespace
