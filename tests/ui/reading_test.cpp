// Fetching mail from a real server and reading it.

#include "fixtures/dovecot_server.h"
#include "fixtures/process.h"
#include "fixtures/temp_home.h"
#include "ui/person.h"
#include "ui/sample.h"

#include <QRegularExpression>

#include <filesystem>
#include <gtest/gtest.h>

namespace fs = std::filesystem;

namespace {

/// Waits until the page shows `text`.
bool PageShows(QString const &text) {
    return WaitFor([=] { return Text("webEmailMessage").contains(text); });
}

class Reading : public testing::Test {
  protected:
    void SetUp() override {
        ClearTempHome();
        ASSERT_GT(server.Port(), 0);
    }
    DovecotServer server;
};

TEST_F(Reading, ProfileMadeThenCheckedAndRead) {
    server.Put("alice", PlainMail("first letter"));
    server.Put("alice", PlainMail("second <b>letter</b>"));
    Sitting([&] {
        EXPECT_TRUE(PageShows("Corvanta")) << "the home page";
        ChooseFromMenuBar("mnuSettings_Accounts");
        Click("btnNewEmailAccount");
        Type("txtAccount_AccountName", "home");
        Type("txtAccount_POPServer", QString::fromStdString(server.Address()));
        Type("txtAccount_SMTPServer", "mail.example.org");
        Type("txtAccount_Username", "alice");
        Type("txtAccount_Password", "secret");
        Type("txtAccount_Fullname", "Alice Archer");
        Type("txtAccount_Email", "alice@example.org");
        Click("btnAccount_Save");
        Click("btnCloseAccounts_Activated");

        Click("btnCheckEmail");
        ASSERT_TRUE(WaitFor([] { return Rows("treeMessageHeaders").size() == 2; }));
        EXPECT_EQ(Rows("treeMessageHeaders").first(),
                  "|first letter|sender@example.org|Mon, 02 Nov 2026 10:00:00 +0000");
        ClickRow("treeMessageHeaders", "first");
        EXPECT_TRUE(
            WaitFor([] { return Text("lblStatus").startsWith("Messages can be shown from the next start on"); }));
    });
    Sitting([&] {
        OpenInbox();
        ClickRow("treeMessageHeaders", "second <b>letter</b>");
        EXPECT_TRUE(PageShows("The text of second <b>letter</b>.")) << Text("webEmailMessage").toStdString();
        EXPECT_EQ(FileText(Root() + ".tmp/originalmsg"), PlainMail("second <b>letter</b>"));

        ChooseFromMenuBar("mnuMessage_ViewSource");
        EXPECT_TRUE(Text("txtViewSource").contains("Subject: second <b>letter</b>"));
        TakePicture("dlgViewSource", "view-source.png");
        Click("btnCloseViewSource");
        ChooseFromMenuBar("mnuHelp_About");
        EXPECT_EQ(Text("lblAboutName"), "Corvanta");
        TakePicture("dlgAbout", "about.png");
        Click("btnCloseAbout");

        Click("btnHome");
        EXPECT_TRUE(WaitFor([] { return !Text("webEmailMessage").contains("The text of"); }));
        TakePicture("base", "home-page.png");
    });
    EXPECT_TRUE(server.WaitForLog("top=2/"));
    EXPECT_EQ(server.Count("alice"), 2);
    EXPECT_FALSE(fs::exists(Root() + ".tmp/msg.html")) << "the scratch directory is emptied at the end";
}

TEST_F(Reading, PicturesAndAttachments) {
    MakeProfile(server.Address(), true);
    server.Put("alice", DemoMail("25-pictures"));
    Sitting([&] {
        OpenInbox();
        ASSERT_TRUE(WaitFor([] { return Rows("treeMessageHeaders").size() == 1; }));
        ClickRow("treeMessageHeaders", "Pictures");
        EXPECT_TRUE(PageShows("See you at the fountain"));
        EXPECT_EQ(Rows("treeAttachments"), (QStringList{"ridge.jpg", "harbour.jpg", "captions.pdf"}));
        Wait(300);
        TakePicture("base", "message.png");

        std::string const target = TempHome() + "/captions copy.pdf";
        WhenAskedForFile(QString::fromStdString(target));
        ChooseFromRowMenu("treeAttachments", "captions.pdf", {"Save Attachment"});
        EXPECT_EQ(ProposedFile(), QString::fromStdString(TempHome() + "/captions.pdf"));
        EXPECT_TRUE(WaitFor([&] { return fs::exists(target); }));
        EXPECT_EQ(FileText(target).substr(0, 5), "%PDF-");
        // The sample is what base64 -d makes of the part.
        std::string const check = "set -e; sed -n '/filename=\"captions.pdf\"/,$p' \"$1\" | sed '1,/^\\r*$/d' | "
                                  "sed '/^--/,$d' | tr -d '\\r\\n' | base64 -d | cmp - \"$2\"";
        EXPECT_EQ(RunProgram({"bash", "-c", check, "check", Root() + ".tmp/originalmsg", target}), 0);

        WhenAskedToPrint(QString::fromStdString(TempHome() + "/page.pdf"));
        ChooseFromMenuBar("mnuFile_Print");
        EXPECT_TRUE(WaitFor([&] { return fs::exists(TempHome() + "/page.pdf"); }));
        EXPECT_EQ(RunProgram({"bash", "-c", "pdftotext \"$1\" - | grep -q 'See you at the fountain'", "check",
                              TempHome() + "/page.pdf"}),
                  0);
        WhenAskedToPrint("");
        ChooseFromMenuBar("mnuFile_Print");
        EXPECT_EQ(Boxes().last(), "print|");
    });
}

TEST_F(Reading, RemoveModeStoresThenDeletes) {
    MakeProfile(server.Address(), false);
    for (char const *mail : {"01-welcome", "12-photo", "08-latin1", "16-html-only", "21-empty"})
        server.Put("alice", DemoMail(mail));
    Sitting([&] {
        OpenInbox();
        ASSERT_TRUE(WaitFor([] { return Rows("treeMessageHeaders").size() == 5; }));
        EXPECT_TRUE(server.WaitForLog("del=5/"));
        EXPECT_EQ(IndexSize("Inbox"), 24 + 5 * 208);
        for (int i = 0; i < 5; i++) {
            QString const row = Rows("treeMessageHeaders").at(i);
            ClickRow("treeMessageHeaders", row.section('|', 1, 1));
            QString const from = row.section('|', 2, 2);
            EXPECT_TRUE(PageShows(from)) << row.toStdString() << "\n" << Text("webEmailMessage").toStdString();
        }
    });
    EXPECT_EQ(server.Count("alice"), 0);
    Sitting([&] {
        OpenInbox();
        EXPECT_EQ(Rows("treeMessageHeaders").size(), 5) << "found again";
        ClickRow("treeMessageHeaders", "Sunset");
        EXPECT_TRUE(WaitFor([] { return Rows("treeAttachments").size() > 0; }));
    });
}

} // namespace
