// Fetching mail from a real server and reading it.

#include "fixtures/dovecot_server.h"
#include "fixtures/process.h"
#include "fixtures/temp_home.h"
#include "ui/person.h"
#include "ui/sample.h"

#include <filesystem>
#include <gtest/gtest.h>

namespace fs = std::filesystem;

namespace {

void SaveCaptions() {
    EXPECT_EQ(Rows("treeAttachments"), (QStringList{"ridge.jpg", "harbour.jpg", "captions.pdf"}));
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
}

void PrintPage() {
    std::string const page = TempHome() + "/page.pdf";
    WhenAskedToPrint(QString::fromStdString(page));
    ChooseFromMenuBar("mnuFile_Print");
    EXPECT_TRUE(WaitFor([&] { return fs::exists(page); }));
    EXPECT_EQ(RunProgram({"bash", "-c", "pdftotext \"$1\" - | grep -q 'See you at the fountain'", "check", page}), 0);
    WhenAskedToPrint("");
    ChooseFromMenuBar("mnuFile_Print");
    EXPECT_EQ(Boxes().last(), "print|");
}

void ViewSource(std::string const &mail) {
    EXPECT_EQ(FileText(Root() + ".tmp/originalmsg"), mail);
    ChooseFromMenuBar("mnuMessage_ViewSource");
    EXPECT_EQ(Text("txtViewSource"), QString::fromStdString(mail).remove('\r'));
    Click("btnCloseViewSource");
}

TEST(Reading, MailIsFetchedReadSavedAndPrinted) {
    ClearTempHome();
    DovecotServer server;
    ASSERT_GT(server.Port(), 0);
    MakeProfile(server.Address(), false);
    for (char const *mail : {"01-welcome", "12-photo", "08-latin1", "16-html-only", "21-empty", "25-pictures"})
        server.Put("alice", DemoMail(mail));
    server.Put("alice", PlainMail("<b>letter</b>"));
    Sitting([&] {
        OpenInbox();
        ASSERT_EQ(Rows("treeMessageHeaders").size(), 7);
        EXPECT_EQ(Rows("treeMessageHeaders").last(),
                  "|<b>letter</b>|sender@example.org|Mon, 02 Nov 2026 10:00:00 +0000");
        EXPECT_TRUE(server.WaitForLog("del=7/"));
        EXPECT_EQ(IndexSize("Inbox"), 24 + 7 * 208);
        for (QString const &row : Rows("treeMessageHeaders")) {
            ClickRow("treeMessageHeaders", row.section('|', 1, 1));
            EXPECT_TRUE(PageShows(row.section('|', 2, 2))) << row.toStdString() << "\n"
                                                           << Text("webEmailMessage").toStdString();
        }
        EXPECT_TRUE(PageShows("The text of <b>letter</b>."));
        ViewSource(PlainMail("<b>letter</b>"));
        ClickRow("treeMessageHeaders", "Pictures");
        ASSERT_TRUE(PageShows("See you at the fountain"));
        SaveCaptions();
        PrintPage();
        Click("btnHome");
        EXPECT_TRUE(PageShows("First steps"));
        EXPECT_EQ(Rows("treeAttachments"), QStringList());
    });
    EXPECT_EQ(server.Count("alice"), 0);
    EXPECT_FALSE(fs::exists(Root() + ".tmp/msg.html")) << "the scratch directory is emptied at the end";
    Sitting([] {
        OpenInbox();
        EXPECT_EQ(Rows("treeMessageHeaders").size(), 7) << "found again";
        ClickRow("treeMessageHeaders", "Sunset");
        EXPECT_TRUE(WaitFor([] { return Rows("treeAttachments").size() > 0; }));
    });
}

} // namespace
