// Writing, replying, forwarding: the compose window itself. What is sent is looked at elsewhere.

#include "fixtures/scripted_server.h"
#include "fixtures/temp_home.h"
#include "mime/base64.h"
#include "mime/render.h"
#include "store/folder.h"
#include "ui/person.h"
#include "ui/sample.h"

#include <QAccessible>
#include <QApplication>
#include <QLineEdit>
#include <QProgressBar>
#include <QTest>
#include <QWidget>

#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>

namespace fs = std::filesystem;

namespace {

/// The compose window that holds the visible send button.
QWidget *Window() { return Find("pic_btnSend")->window(); }

/// A visible widget of the compose window by its picture name and, for those made several times, its place from 0.
template <class Widget> Widget *Part(char const *name, int place = 0) {
    QList<Widget *> parts = Window()->findChildren<Widget *>(QLatin1String(name));
    EXPECT_GT(parts.size(), place) << name;
    return parts.value(place);
}

QString Field(int place) { return Part<QLineEdit>("pic_txtTextbox", place)->text(); }
constexpr int kTo = 0, kCc = 1, kSubject = 2;

QString SpokenName(QWidget *widget) {
    QAccessibleInterface *const spoken = QAccessible::queryAccessibleInterface(widget);
    return spoken ? spoken->text(QAccessible::Name) : QString();
}

void PutFile(std::string const &path, std::string const &bytes) { std::ofstream(path, std::ios::binary) << bytes; }

void StoreMail(std::string const &mail) {
    ASSERT_GT(AppendMessage((Root() + "home/Inbox/").c_str(), mail.c_str()), 0);
}

/// Opens the Inbox, which no server answers for, and shows the message with the subject.
void ShowMail(char const *subject) {
    ClickRow("treeProfiles", "Inbox");
    ASSERT_TRUE(WaitFor([] { return Rows("treeMessageHeaders").size() > 0; }));
    WaitFor([] { return Find("treeMessageHeaders")->isEnabled(); });
    Wait(300);
    ClickRow("treeMessageHeaders", subject);
    ASSERT_TRUE(WaitFor([] { return fs::exists(Root() + ".tmp/msg.html"); }));
}

class Compose : public testing::Test {
  protected:
    void SetUp() override {
        ClearTempHome();
        MakeProfile("127.0.0.1:1", true);
    }
};

TEST_F(Compose, WindowHasItsPlacesKeysAndNames) {
    Sitting([] {
        Click("btnCompose");
        EXPECT_EQ(Window()->windowTitle(), "New Email Message");
        EXPECT_EQ(Window()->size(), QSize(450, 400));
        TakePicture("pic_btnSend", "compose-450x400.png");
        EXPECT_EQ(SpokenName(Part<QWidget>("pic_DropDown")), "home") << "the profile that is chosen";
        char const *const names[] = {"To:", "Cc:", "Subject:"};
        for (int field : {kTo, kCc, kSubject})
            EXPECT_EQ(SpokenName(Part<QLineEdit>("pic_txtTextbox", field)), names[field]);

        Window()->activateWindow();
        ASSERT_TRUE(WaitFor([] { return Window()->isActiveWindow(); }));
        QList<QWidget *> const order{Part<QWidget>("pic_txtTextbox", kTo), Part<QWidget>("pic_txtTextbox", kCc),
                                     Part<QWidget>("pic_txtTextbox", kSubject), Part<QWidget>("pic_multiMessage"),
                                     Part<QWidget>("pic_btnSend")};
        for (QWidget *stop : order) {
            EXPECT_EQ(QApplication::focusWidget(), stop) << stop->objectName().toStdString();
            QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
        }
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_J, Qt::AltModifier);
        EXPECT_EQ(QApplication::focusWidget(), order[kSubject]);

        Window()->resize(800, 600);
        Wait(50);
        EXPECT_EQ(Part<QWidget>("pic_multiMessage")->geometry().right(), 800 - 8 - 1);
        EXPECT_EQ(Part<QWidget>("pic_treeAttachments")->geometry().bottom(), 600 - 45 - 8 - 1) << "of its pane";
        TakePicture("pic_btnSend", "compose-800x600.png");
        QRect const text = Part<QWidget>("pic_multiMessage")->geometry();
        Window()->resize(450, 45);
        Wait(50);
        for (char const *row : {"pic_btnCancel", "pic_prgProgress", "pic_btnSend"})
            EXPECT_TRUE(QRect(0, 0, 450, 45).contains(Part<QWidget>(row)->geometry())) << row;
        for (char const *covered : {"pic_txtTextbox", "pic_multiMessage", "pic_treeAttachments"})
            EXPECT_TRUE(Part<QWidget>(covered)->visibleRegion().isEmpty()) << covered;
        TakePicture("pic_btnSend", "compose-450x45.png");
        Window()->resize(800, 600);
        Wait(50);
        EXPECT_EQ(Part<QWidget>("pic_multiMessage")->geometry(), text) << "grown back";
        Click("pic_btnCancel");
        EXPECT_FALSE(IsShown("pic_btnSend")) << "an empty window closes without a question";
    });
}

TEST_F(Compose, UnsentTextIsAskedFor) {
    Sitting([] {
        Click("btnCompose");
        TypeMore("pic_multiMessage", "dear");
        Press("pic_multiMessage", Qt::Key_Escape);
        EXPECT_EQ(Text("pic_multiMessage"), "dear") << "nothing closes without a question";
        EXPECT_EQ(Boxes(), QStringList());
        WhenAsked("Cancel");
        Window()->close();
        ASSERT_TRUE(WaitFor([] { return Boxes().size() == 1; }));
        Wait(50);
        EXPECT_EQ(Boxes().last(), "Warning!|This message has not been sent. Do you want to discard it?");
        EXPECT_EQ(Text("pic_multiMessage"), "dear");
        WhenAsked("Discard it");
        Click("pic_btnCancel");
        EXPECT_TRUE(WaitFor([] { return !IsShown("pic_btnSend"); }));

        Click("btnCompose");
        Click("btnCompose"); // as many as one likes
        int windows = 0;
        for (QWidget *window : QApplication::topLevelWidgets())
            windows += window->isVisible() && window->windowTitle() == "New Email Message";
        EXPECT_EQ(windows, 2);
        Click("pic_btnCancel");
        Click("pic_btnCancel");
        EXPECT_FALSE(IsShown("pic_btnSend"));
    });
}

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

void WriteLetter() {
    Click("btnCompose");
    QTest::keyClicks(Part<QLineEdit>("pic_txtTextbox", kTo), "bob@example.org");
    QTest::keyClicks(Part<QLineEdit>("pic_txtTextbox", kSubject), "Letter");
    TypeMore("pic_multiMessage", "dear");
}

TEST_F(Compose, SendingIsCancelledAndTheOpenOutboxSeesWhatIsSent) {
    ScriptedServer server({Smtp(false), Smtp(true)});
    SendThrough(server.Address());
    Sitting([&] {
        ClickRow("treeProfiles", "Outbox");
        WriteLetter();
        Click("pic_btnSend");
        ASSERT_TRUE(WaitFor([] { return Part<QProgressBar>("pic_prgProgress")->value() == 2; })) << "connected";
        EXPECT_EQ(Window()->size(), QSize(450, 45));
        TakePicture("pic_btnCancel", "compose-sending.png");
        Click("pic_btnCancel");
        EXPECT_FALSE(IsShown("pic_btnCancel"));
        EXPECT_EQ(Boxes(), QStringList()) << "stopping it is an answer already";
        ASSERT_TRUE(WaitFor([] { return !fs::exists(Root() + "home/Outbox/1"); }));

        WriteLetter();
        Press("pic_multiMessage", Qt::Key_Return, Qt::ControlModifier);
        ASSERT_TRUE(WaitFor([] { return !IsShown("pic_btnCancel"); }));
        EXPECT_EQ(Rows("treeMessageHeaders"), QStringList{"|Letter|\"Alice Archer\" <alice@example.org>|" +
                                                          Rows("treeMessageHeaders").value(0).section('|', 3)});
        ClickRow("treeMessageHeaders", "Letter");
        EXPECT_TRUE(WaitFor([] { return Text("webEmailMessage").contains("dear"); }));
    });
}

TEST_F(Compose, RecipientsArePickedFromTheBook) {
    PutFile(Root() + ".global", "Ann\tann@example.org\t\nBob\tbob@example.org\t\n");
    Sitting([] {
        Click("btnCompose");
        for (int const field : {kTo, kCc}) {
            QTest::mouseClick(Part<QWidget>("pic_btnAddressBook", field), Qt::LeftButton);
            EXPECT_EQ(Find("winAddressBook")->size(), QSize(376, 178)) << "folded, also when it was open";
            EXPECT_FALSE(IsShown("txtContactName"));
            for (char const *contact : {"Ann", "Bob"})
                DoubleClickRow("treeContacts", contact);
            EXPECT_EQ(Field(field), "ann@example.org, bob@example.org");
            EXPECT_EQ(Field(kTo + kCc - field), field == kTo ? "" : Field(kTo));
        }
        TakePicture("pic_btnSend", "compose-picked.png");
        TakePicture("winAddressBook", "book-bound.png");
        // The book outlives the window, and forgets its field.
        Click("pic_btnCancel");
        DoubleClickRow("treeContacts", "Ann");
        Click("btnCloseAddressBook");
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
    fs::create_directories(tools);
    PutFile(tools + "/xdg-open",
            "#!/bin/sh\nprintf '%s' \"$1\" > " + log + ".new && mv " + log + ".new " + log + "\n");
    fs::permissions(tools + "/xdg-open", fs::perms::owner_all);
    std::string const path = tools + ":" + getenv("PATH");
    setenv("PATH", path.c_str(), 1);
    Sitting([&] {
        Click("btnCompose");
        WhenAskedForFile(QString::fromStdString(file));
        Click("pic_btnAttachment");
        EXPECT_EQ(Boxes().last(), "Attachment...|");
        ASSERT_TRUE(WaitFor([] { return Rows("pic_treeAttachments").size() == 1; }));
        EXPECT_EQ(Rows("pic_treeAttachments"), QStringList{"-photo.jpg"});
        TakePicture("pic_btnSend", "compose-attached.png");
        WhenAskedForFile(QString::fromStdString(TempHome() + "/tools"));
        WhenAskedForFile("");
        Click("pic_btnAttachment");
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
    StoreMail(kAsked);
    Sitting([] {
        Click("btnReply");
        EXPECT_FALSE(IsShown("pic_btnSend")) << "no message is shown";
        ShowMail("Lunch");
        Click("btnReply");
        EXPECT_EQ(Window()->windowTitle(), "Reply...");
        EXPECT_EQ(Field(kTo), " Bob Baker <bob@example.org>, Carol<carol@example.org>, dave@example.org");
        EXPECT_EQ(Field(kCc), "erin@example.org, frank@example.org");
        EXPECT_EQ(Field(kSubject), "Re:  Lunch on <Friday>?");
        EXPECT_EQ(Text("pic_multiMessage"), "\n\n\n--Original Message:\n>\n>Are you free?\n>\n>Bob &lt;b>\n>");
        TakePicture("pic_btnSend", "reply.png");
        WhenAsked("Discard it");
        Click("pic_btnCancel");
    });
}

TEST_F(Compose, ForwardCarriesTheAttachments) {
    StoreMail(DemoMail("25-pictures"));
    Sitting([] {
        ShowMail("Pictures");
        ChooseFromMenuBar("mnuMessage_Forward");
        EXPECT_EQ(Window()->windowTitle(), "Forward...");
        EXPECT_EQ(Field(kTo), "");
        EXPECT_TRUE(Field(kSubject).startsWith("Fwd:  ")) << Field(kSubject).toStdString();
        EXPECT_TRUE(WaitFor([] { return Rows("pic_treeAttachments").size() == 3; }));
        EXPECT_EQ(Rows("pic_treeAttachments"), (QStringList{"ridge.jpg", "harbour.jpg", "captions.pdf"}));
        EXPECT_TRUE(Text("pic_multiMessage").contains("\n>See you at the fountain"));
        EXPECT_FALSE(Text("pic_multiMessage").contains("skip this line"));
        TakePicture("pic_btnSend", "forward.png");
        WhenAsked("Discard it");
        Click("pic_btnCancel");
    });
}

} // namespace
