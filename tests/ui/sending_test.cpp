// The way of a letter: written, sent over SMTP, found in the Outbox, fetched back over POP3, answered; and refused.

#include "fixtures/dovecot_server.h"
#include "fixtures/postfix_server.h"
#include "fixtures/temp_home.h"
#include "ui/person.h"
#include "ui/sample.h"

#include <QLineEdit>
#include <QPlainTextEdit>
#include <QTest>

#include <gtest/gtest.h>
#include <unistd.h>

namespace {

QLineEdit *Field(int place) {
    return Find("pic_btnSend")->window()->findChildren<QLineEdit *>(QStringLiteral("pic_txtTextbox")).value(place);
}
constexpr int kTo = 0, kSubject = 2;

void TypeInto(QWidget *field, QString const &text) {
    ASSERT_TRUE(field);
    QTest::mouseClick(field, Qt::LeftButton);
    QTest::keyClicks(field, text);
}

bool WindowGoes() {
    return WaitFor([] { return !IsShown("pic_btnSend") && !IsShown("pic_btnCancel"); });
}

class Sending : public testing::Test {
  protected:
    void SetUp() override {
        if (geteuid() != 0)
            GTEST_SKIP() << "the SMTP server switches users, which takes root";
        ClearTempHome();
        ASSERT_GT(pop.Port(), 0);
        MakeProfile(pop.Address(), true);
    }
    DovecotServer pop;
};

TEST_F(Sending, WrittenSentFetchedAndAnswered) {
    PostfixServer const smtp(pop.WorkDirectory() + "/mail");
    ASSERT_GT(smtp.Port(), 0);
    SendThrough(smtp.Address());
    Sitting([&] {
        Click("btnCompose");
        TypeInto(Field(kTo), "Bob <bob@example.org>, alice@example.org");
        TypeInto(Field(kSubject), "Round trip");
        TypeInto(Find("pic_multiMessage"), "Hello there");
        Click("pic_btnSend");
        ASSERT_TRUE(WindowGoes());
        ASSERT_TRUE(WaitFor([&] { return pop.Count("bob") == 1 && pop.Count("alice") == 1; }));
        ClickRow("treeProfiles", "Outbox");
        ASSERT_TRUE(WaitFor([] { return Rows("treeMessageHeaders").size() == 1; }));
        EXPECT_EQ(Rows("treeMessageHeaders").first().section('|', 1, 1), "Round trip");

        OpenInbox();
        ASSERT_TRUE(WaitFor([] { return Rows("treeMessageHeaders").size() == 1; }));
        ClickRow("treeMessageHeaders", "Round trip");
        ASSERT_TRUE(WaitFor([] { return Text("webEmailMessage").contains("Hello there"); }));
        Click("btnReply");
        EXPECT_EQ(Field(kSubject)->text(), "Re:  Round trip") << "the blank behind the colon stays";
        EXPECT_TRUE(Field(kTo)->text().contains("alice@example.org"));
        EXPECT_TRUE(qobject_cast<QPlainTextEdit *>(Find("pic_multiMessage"))->toPlainText().contains(">Hello there"));
        Click("pic_btnSend");
        ASSERT_TRUE(WindowGoes());
        EXPECT_TRUE(WaitFor([&] { return pop.Count("alice") == 2; }));
        EXPECT_EQ(IndexSize("Outbox"), 24 + 2 * 208);
    });
}

TEST_F(Sending, NoServerKeepsTheTextInTheOutbox) {
    SendThrough("127.0.0.1:1");
    Sitting([&] {
        Click("btnCompose");
        TypeInto(Field(kTo), "bob@example.org");
        TypeInto(Field(kSubject), "Not yet");
        TypeInto(Find("pic_multiMessage"), "Kept words");
        WhenAsked("Close");
        Click("pic_btnSend");
        ASSERT_TRUE(WaitFor([] { return !Boxes().isEmpty(); }));
        EXPECT_EQ(Boxes().last(), "Error|Failed to get a socket, verify server information");
        ASSERT_TRUE(WaitFor([] { return IndexSize("Outbox") == 24 + 208; }));
        EXPECT_TRUE(
            WaitFor([] { return FileText(Root() + "home/Outbox/1").find("Kept words") != std::string::npos; }));
        ClickRow("treeProfiles", "Outbox");
        EXPECT_TRUE(WaitFor([] { return Rows("treeMessageHeaders").join("").contains("Not yet"); }));
        // The window stays as it is; only Cancel works in it.
        WhenAsked("Discard it");
        Click("pic_btnCancel");
        EXPECT_TRUE(WindowGoes());
    });
}

} // namespace
