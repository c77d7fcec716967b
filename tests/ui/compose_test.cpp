// Writing, replying, forwarding, sending: the compose window, and the way of a letter.

#include "fixtures/dovecot_server.h"
#include "fixtures/postfix_server.h"
#include "fixtures/scripted_server.h"
#include "fixtures/temp_home.h"
#include "store/folder.h"
#include "ui/letter.h"
#include "ui/person.h"
#include "ui/sample.h"

#include <QApplication>
#include <QLineEdit>
#include <QProgressBar>
#include <QTest>
#include <QWidget>

#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

/// A visible widget of the compose window by its picture name and, for those made several times, its place from 0.
QWidget *Part(char const *name, int place = 0) {
    QList<QWidget *> const parts = LetterWindow()->findChildren<QWidget *>(QLatin1String(name));
    EXPECT_GT(parts.size(), place) << name;
    return parts.value(place);
}

int Progress() { return qobject_cast<QProgressBar *>(Part("pic_prgProgress"))->value(); }

void PutFile(std::string const &path, std::string const &bytes) { std::ofstream(path, std::ios::binary) << bytes; }

/// Shows the message with the subject. No server answers for the Inbox.
void ShowMail(char const *subject, char const *words) {
    OpenInbox();
    ClickRow("treeMessageHeaders", subject);
    ASSERT_TRUE(PageShows(words));
}

class Compose : public testing::Test {
  protected:
    void SetUp() override {
        ClearTempHome();
        MakeProfile("127.0.0.1:1", true);
    }
};

TEST_F(Compose, WindowHasItsPlacesAndKeysAndKeepsItsText) {
    Sitting([] {
        Click("btnCompose");
        EXPECT_EQ(LetterWindow()->windowTitle(), "New Email Message");
        EXPECT_EQ(LetterWindow()->size(), QSize(450, 400));
        TakePicture("pic_btnSend", "compose-450x400.png");
        LetterWindow()->activateWindow();
        ASSERT_TRUE(WaitFor([] { return LetterWindow()->isActiveWindow(); }));
        QList<QWidget *> const order{Part("pic_txtTextbox", kTo), Part("pic_txtTextbox", kCc),
                                     Part("pic_txtTextbox", kSubject), Part("pic_multiMessage"), Part("pic_btnSend")};
        for (QWidget *stop : order) {
            EXPECT_EQ(QApplication::focusWidget(), stop) << stop->objectName().toStdString();
            QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
        }
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_J, Qt::AltModifier);
        EXPECT_EQ(QApplication::focusWidget(), order[kSubject]);

        LetterWindow()->resize(800, 600);
        EXPECT_TRUE(WaitFor([] { return Part("pic_multiMessage")->geometry().right() == 800 - 8 - 1; }));
        EXPECT_EQ(Part("pic_treeAttachments")->geometry().bottom(), 600 - 45 - 8 - 1) << "of its pane";
        TakePicture("pic_btnSend", "compose-800x600.png");
        QRect const text = Part("pic_multiMessage")->geometry();
        LetterWindow()->resize(450, 45);
        EXPECT_TRUE(WaitFor([] { return Part("pic_multiMessage")->visibleRegion().isEmpty(); }));
        for (char const *row : {"pic_btnCancel", "pic_prgProgress", "pic_btnSend"})
            EXPECT_TRUE(QRect(0, 0, 450, 45).contains(Part(row)->geometry())) << row;
        for (char const *covered : {"pic_txtTextbox", "pic_treeAttachments"})
            EXPECT_TRUE(Part(covered)->visibleRegion().isEmpty()) << covered;
        TakePicture("pic_btnSend", "compose-450x45.png");
        LetterWindow()->resize(800, 600);
        EXPECT_TRUE(WaitFor([&] { return Part("pic_multiMessage")->geometry() == text; })) << "grown back";
        Click("pic_btnCancel");
        EXPECT_FALSE(IsShown("pic_btnSend")) << "an empty window closes without a question";

        Click("btnCompose");
        TypeMore("pic_multiMessage", "dear");
        Press("pic_multiMessage", Qt::Key_Escape);
        EXPECT_EQ(Boxes(), QStringList()) << "Escape closes nothing";
        WhenAsked("Cancel");
        LetterWindow()->close();
        ASSERT_TRUE(WaitFor([] { return !Boxes().isEmpty(); }));
        EXPECT_EQ(Boxes(), QStringList("Warning!|This message has not been sent. Do you want to discard it?"));
        EXPECT_EQ(Text("pic_multiMessage"), "dear");
        DiscardLetter();
        EXPECT_FALSE(IsShown("pic_btnSend"));
    });
}

constexpr int kDelivery = 60'000; ///< milliseconds that a mail server may take

/// A server that takes one message, or says nothing any more once it has the recipient.
Script Smtp(bool takes) {
    Script script{Send("220 ready\r\n"), Skip(), Send("250 hello\r\n"), Skip(), Send("250 ok\r\n"), Skip()};
    Script const end{Send("250 ok\r\n"), Skip(), Send("354 go\r\n"), Until("\r\n.\r\n"), Send("250 ok\r\n")};
    if (takes)
        script.insert(script.end(), end.begin(), end.end());
    else
        script.push_back(Stall());
    return script;
}

TEST_F(Compose, SendingIsCancelledSeenInTheOpenOutboxAndOutlivesTheMainWindow) {
    ScriptedServer server({Smtp(false), Smtp(true), Smtp(true)});
    SendThrough(server.Address());
    Sitting([] {
        ClickRow("treeProfiles", "Outbox");
        WriteLetter("bob@example.org", "Letter", "dear");
        Click("pic_btnSend");
        ASSERT_TRUE(WaitFor([] { return Progress() == 2; })) << "connected";
        EXPECT_EQ(LetterWindow()->size(), QSize(450, 45));
        TakePicture("pic_btnCancel", "compose-sending.png");
        Click("pic_btnCancel");
        EXPECT_FALSE(IsShown("pic_btnCancel"));
        EXPECT_EQ(Boxes(), QStringList()) << "stopping it is an answer already";
        ASSERT_TRUE(WaitFor([] { return !fs::exists(Root() + "home/Outbox/1"); }));

        WriteLetter("bob@example.org", "Letter", "dear");
        Press("pic_multiMessage", Qt::Key_Return, Qt::ControlModifier);
        ASSERT_TRUE(LetterGoes());
        EXPECT_EQ(Rows("treeMessageHeaders"), QStringList{"|Letter|\"Alice Archer\" <alice@example.org>|" +
                                                          Rows("treeMessageHeaders").value(0).section('|', 3)});
        ClickRow("treeMessageHeaders", "Letter");
        EXPECT_TRUE(PageShows("dear"));

        WriteLetter("bob@example.org", "Late", "Last words");
        Find("base")->close();
        ASSERT_TRUE(WaitFor([] { return !IsShown("base"); }));
        EXPECT_EQ(Text("pic_multiMessage"), "Last words");
        Click("pic_btnSend");
        EXPECT_TRUE(LetterGoes());
    });
    EXPECT_NE(server.Received().find("Last words"), std::string::npos);
}

TEST_F(Compose, RecipientsArePickedFromTheBook) {
    PutFile(Root() + ".global", "Ann\tann@example.org\t\nBob\tbob@example.org\t\n");
    ScriptedServer silent({Smtp(false)});
    SendThrough(silent.Address());
    Sitting([] {
        Click("btnCompose");
        for (int const field : {kTo, kCc}) {
            QTest::mouseClick(Part("pic_btnAddressBook", field), Qt::LeftButton);
            EXPECT_EQ(Find("winAddressBook")->size(), QSize(376, 178)) << "folded, also when it was open";
            EXPECT_FALSE(IsShown("txtContactName"));
            ClickRow("treeContacts", "Ann");
            Press("treeContacts", Qt::Key_Return);
            EXPECT_EQ(Field(field)->text(), "") << "neither one click nor a key picks";
            for (char const *contact : {"Ann", "Bob"})
                DoubleClickRow("treeContacts", contact);
            EXPECT_EQ(Field(field)->text(), "ann@example.org, bob@example.org");
        }
        EXPECT_EQ(Field(kTo)->text(), Field(kCc)->text());
        TakePicture("pic_btnSend", "compose-picked.png");
        TakePicture("winAddressBook", "book-bound.png");

        // A window that goes takes only its own fields away from the book.
        QWidget *const first = LetterWindow();
        QString const title = first->windowTitle();
        Click("btnCompose");
        for (QWidget *window : QApplication::topLevelWidgets())
            if (window->isVisible() && window->windowTitle() == title && window != first)
                QTest::mouseClick(window->findChild<QWidget *>("pic_btnAddressBook"), Qt::LeftButton);
        first->close();
        ASSERT_TRUE(WaitFor([=] { return LetterWindow() != first; }));
        DoubleClickRow("treeContacts", "Bob");
        EXPECT_EQ(Field(kTo)->text(), "bob@example.org");
        Click("pic_btnSend");
        ASSERT_TRUE(WaitFor([] { return Progress() == 2; }));
        DoubleClickRow("treeContacts", "Ann");
        EXPECT_EQ(Field(kTo)->text(), "bob@example.org") << "a letter on its way keeps its recipients";
        Click("pic_btnCancel");
        ASSERT_TRUE(LetterGoes());
        DoubleClickRow("treeContacts", "Ann");
        Click("btnCloseAddressBook");
    });
}

/// Over Postfix into the Maildirs that Dovecot serves, and back.
TEST(Letter, WrittenSentFetchedAndAnswered) {
    if (geteuid() != 0)
        GTEST_SKIP() << "the SMTP server switches users, which takes root";
    ClearTempHome();
    DovecotServer const pop;
    ASSERT_GT(pop.Port(), 0);
    PostfixServer const smtp(pop.WorkDirectory() + "/mail");
    ASSERT_GT(smtp.Port(), 0);
    MakeProfile(pop.Address(), true);
    SendThrough(smtp.Address());
    Sitting([&] {
        WriteLetter("Bob <bob@example.org>, alice@example.org", "Round trip", "Hello there");
        Click("pic_btnSend");
        ASSERT_TRUE(LetterGoes());
        ASSERT_TRUE(WaitFor([&] { return pop.Count("bob") == 1 && pop.Count("alice") == 1; }, kDelivery));
        ClickRow("treeProfiles", "Outbox");
        EXPECT_TRUE(WaitFor([] { return Subjects() == QStringList{"Round trip"}; }));

        OpenInbox();
        ClickRow("treeMessageHeaders", "Round trip");
        ASSERT_TRUE(PageShows("Hello there"));
        Click("btnReply");
        EXPECT_EQ(Field(kSubject)->text(), "Re:  Round trip") << "the blank behind the colon stays";
        EXPECT_TRUE(Field(kTo)->text().contains("alice@example.org"));
        EXPECT_TRUE(Text("pic_multiMessage").contains(">Hello there"));
        Click("pic_btnSend");
        ASSERT_TRUE(LetterGoes());
        EXPECT_TRUE(WaitFor([&] { return pop.Count("alice") == 2; }, kDelivery));
        EXPECT_EQ(IndexSize("Outbox"), 24 + 2 * 208);
    });
}

TEST_F(Compose, WithoutAProfileThereIsNoWindow) {
    fs::remove(Root() + "home.dat");
    Sitting([] {
        WhenAsked("Close");
        Click("btnCompose");
        EXPECT_EQ(Boxes(), QStringList{"Error|You must first create an email profile"});
        EXPECT_FALSE(IsShown("pic_btnSend"));
    });
}

TEST_F(Compose, FilesAreAttachedOpenedAndRemoved) {
    std::string bytes(3000000, 0);
    for (size_t i = 0; i < bytes.size(); i++)
        bytes[i] = static_cast<char>(i * 7 + i / 251);
    std::string const file = TempHome() + "/-photo.jpg", tools = TempHome() + "/tools", log = TempHome() + "/opened";
    PutFile(file, bytes);
    std::string const large = TempHome() + "/large.bin";
    PutFile(large, "");
    fs::resize_file(large, (1ull << 30) + 1);
    fs::create_directories(tools);
    PutFile(tools + "/xdg-open",
            "#!/bin/sh\nprintf '%s' \"$1\" > " + log + ".new && mv " + log + ".new " + log + "\n");
    fs::permissions(tools + "/xdg-open", fs::perms::owner_all);
    std::string const path = tools + ":" + getenv("PATH");
    setenv("PATH", path.c_str(), 1);
    Sitting([&] {
        Click("btnCompose");
        Attach(file);
        EXPECT_EQ(Boxes().last(), "Attachment...|");
        ASSERT_TRUE(WaitFor([] { return Rows("pic_treeAttachments") == QStringList{"-photo.jpg"}; }));
        TakePicture("pic_btnSend", "compose-attached.png");
        Attach("");
        // Too large; a file whose reading fails; one that has more than it says.
        for (std::string const unreadable : {large.c_str(), "/proc/self/mem", "/proc/self/status"}) {
            WhenAsked("Close");
            Attach(unreadable);
            std::string const name = unreadable.substr(unreadable.rfind('/') + 1);
            ASSERT_TRUE(WaitFor([] { return Boxes().last().startsWith("Error|"); })) << name;
            EXPECT_EQ(Boxes().last().toStdString(), "Error|The file " + name + " could not be attached");
        }
        EXPECT_EQ(Rows("pic_treeAttachments").size(), 1);

        ChooseFromRowMenu("pic_treeAttachments", "-photo.jpg", {"Open"});
        ASSERT_TRUE(WaitFor([&] { return fs::exists(log); }));
        std::string const opened = FileText(log);
        EXPECT_EQ(opened, Root() + ".tmp/open1--photo.jpg");
        EXPECT_EQ(FileText(opened), bytes);

        ClickRow("pic_treeAttachments", "-photo.jpg");
        Press("pic_treeAttachments", Qt::Key_Delete);
        EXPECT_EQ(Rows("pic_treeAttachments"), QStringList());
        Click("pic_btnCancel");
    });
}

constexpr char kAsked[] = "From: Bob Baker <bob@example.org>\r\n"
                          "To: \"Alice Archer\" <ALICE@example.org>, Carol <carol@example.org>;dave@example.org\r\n"
                          "Cc: erin@example.org,, alice@example.org, \r\n frank@example.org\r\n"
                          "Subject: Lunch on <Friday>?\r\n"
                          "Date: Mon, 02 Nov 2026 10:00:00 +0000\r\n\r\n"
                          "Are you free?\r\n\r\nBob <b>\r\n";

TEST_F(Compose, ReplyQuotesTheShownMessage) {
    ASSERT_GT(AppendMessage((Root() + "home/Inbox/").c_str(), kAsked), 0);
    Sitting([] {
        Click("btnReply");
        EXPECT_FALSE(IsShown("pic_btnSend")) << "no message is shown";
        ShowMail("Lunch", "Are you free?");
        Click("btnReply");
        EXPECT_EQ(LetterWindow()->windowTitle(), "Reply...");
        EXPECT_EQ(Field(kTo)->text(), " Bob Baker <bob@example.org>, Carol<carol@example.org>, dave@example.org");
        EXPECT_EQ(Field(kCc)->text(), "erin@example.org, frank@example.org");
        EXPECT_EQ(Field(kSubject)->text(), "Re:  Lunch on <Friday>?");
        EXPECT_EQ(Text("pic_multiMessage"), "\n\n\n--Original Message:\n>\n>Are you free?\n>\n>Bob &lt;b>\n>");
        TakePicture("pic_btnSend", "reply.png");
        DiscardLetter();
    });
}

TEST_F(Compose, ForwardCarriesTheAttachments) {
    ASSERT_GT(AppendMessage((Root() + "home/Inbox/").c_str(), DemoMail("25-pictures")), 0);
    Sitting([] {
        ShowMail("Pictures", "See you at the fountain");
        ChooseFromMenuBar("mnuMessage_Forward");
        EXPECT_EQ(LetterWindow()->windowTitle(), "Forward...");
        EXPECT_EQ(Field(kTo)->text(), "");
        EXPECT_TRUE(Field(kSubject)->text().startsWith("Fwd:  ")) << Field(kSubject)->text().toStdString();
        EXPECT_TRUE(WaitFor([] { return Rows("pic_treeAttachments").size() == 3; }));
        EXPECT_EQ(Rows("pic_treeAttachments"), (QStringList{"ridge.jpg", "harbour.jpg", "captions.pdf"}));
        EXPECT_TRUE(Text("pic_multiMessage").contains("\n>See you at the fountain"));
        EXPECT_FALSE(Text("pic_multiMessage").contains("skip this line"));
        TakePicture("pic_btnSend", "forward.png");
        DiscardLetter();
    });
}

} // namespace
