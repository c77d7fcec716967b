// Folders: making and deleting them, copying, moving and deleting messages, on disk and on the server.

#include "fixtures/dovecot_server.h"
#include "fixtures/temp_home.h"
#include "pop/check_mail.h"
#include "ui/person.h"
#include "ui/sample.h"

#include <filesystem>
#include <gtest/gtest.h>

namespace fs = std::filesystem;

namespace {

class Filing : public testing::Test {
  protected:
    void SetUp() override {
        ClearTempHome();
        ASSERT_GT(server.Port(), 0);
        for (char const *subject : {"alpha", "beta", "gamma"})
            server.Put("alice", PlainMail(subject));
    }
    DovecotServer server;
};

TEST_F(Filing, StoredMessages) {
    MakeProfile(server.Address(), false);
    Sitting([&] {
        OpenInbox();
        ASSERT_EQ(Subjects(), (QStringList{"alpha", "beta", "gamma"}));
        WhenAskedForText("Travel", "OK");
        ChooseFromRowMenu("treeProfiles", "home", {"Mail", "Add Folder"});
        EXPECT_TRUE(WaitFor([] { return Rows("treeProfiles").contains("Travel"); }));
        EXPECT_EQ(Boxes().last(), "New Folder|Enter a name for the new Folder");
        EXPECT_EQ(IndexSize("Travel"), 24);
        for (char const *name : {"..", "a/b"}) {
            // The refusal comes while the question's callback still runs.
            WhenAskedForText(name, "OK");
            WhenAsked("Close");
            ChooseFromRowMenu("treeProfiles", "home", {"Mail", "Add Folder"});
            EXPECT_TRUE(WaitFor([] { return Boxes().last().startsWith("Error|"); }));
        }
        EXPECT_FALSE(fs::exists(Root() + "home/a"));

        ChooseFromRowMenu("treeMessageHeaders", "alpha", {"Copy To...", "Travel"});
        EXPECT_EQ(FileText(Root() + "home/Travel/1"), PlainMail("alpha"));
        EXPECT_EQ(Subjects(), (QStringList{"alpha", "beta", "gamma"}));
        ChooseFromRowMenu("treeMessageHeaders", "beta", {"Move To...", "Travel"});
        EXPECT_EQ(FileText(Root() + "home/Travel/2"), PlainMail("beta"));
        EXPECT_EQ(Subjects(), (QStringList{"alpha", "gamma"}));
        EXPECT_FALSE(fs::exists(Root() + "home/Inbox/2"));

        ClickRow("treeMessageHeaders", "gamma");
        Click("btnDelete");
        EXPECT_EQ(Subjects(), QStringList("alpha"));
        EXPECT_FALSE(fs::exists(Root() + "home/Inbox/3"));
        EXPECT_EQ(IndexSize("Inbox"), 24 + 3 * 208) << "records stay in place";
        ClickRow("treeMessageHeaders", "alpha");
        Press("treeMessageHeaders", Qt::Key_Delete);
        EXPECT_EQ(Subjects(), QStringList());

        ClickRow("treeProfiles", "Travel");
        EXPECT_EQ(Subjects(), (QStringList{"alpha", "beta"}));
        ClickRow("treeProfiles", "Travel");
        EXPECT_EQ(Subjects(), (QStringList{"alpha", "beta", "alpha", "beta"}))
            << "the same folder again adds its rows";
    });
    Sitting([&] {
        ClickRow("treeProfiles", "Travel");
        EXPECT_EQ(Subjects(), (QStringList{"alpha", "beta"}));
        WhenAsked("Cancel");
        ChooseFromRowMenu("treeProfiles", "Travel", {"Delete Folder"});
        EXPECT_TRUE(fs::exists(Root() + "home/Travel/1"));
        WhenAsked("Delete it");
        ChooseFromRowMenu("treeProfiles", "Travel", {"Delete Folder"});
        EXPECT_TRUE(WaitFor([] { return !fs::exists(Root() + "home/Travel"); }));
        EXPECT_FALSE(Rows("treeProfiles").contains("Travel"));
        EXPECT_TRUE(Boxes().last().startsWith("Warning!|"));
    });
}

TEST_F(Filing, MessagesOnTheServer) {
    MakeProfile(server.Address(), true);
    Sitting([&] {
        OpenInbox();
        ASSERT_EQ(Subjects(), (QStringList{"alpha", "beta", "gamma"}));
        ChooseFromRowMenu("treeMessageHeaders", "alpha", {"Copy To...", "Saved"});
        EXPECT_EQ(FileText(Root() + "home/Saved/1"), PlainMail("alpha"));
        ChooseFromRowMenu("treeMessageHeaders", "alpha", {"Move To...", "Saved"});
        EXPECT_EQ(FileText(Root() + "home/Saved/2"), PlainMail("alpha"));
        EXPECT_EQ(Subjects(), (QStringList{"beta", "gamma"}));
        EXPECT_EQ(server.Count("alice"), 2);
        // The server numbers anew: what was message 3 is 2 now.
        ClickRow("treeMessageHeaders", "gamma");
        EXPECT_TRUE(WaitFor([] { return Text("webEmailMessage").contains("The text of gamma."); }));
        Click("btnDelete");
        EXPECT_EQ(Subjects(), QStringList("beta"));
        EXPECT_EQ(server.Count("alice"), 1);
        ClickRow("treeMessageHeaders", "beta");
        EXPECT_TRUE(WaitFor([] { return Text("webEmailMessage").contains("The text of beta."); }));
        server.Put("alice", PlainMail("delta"));
        Click("btnCheckEmail");
        EXPECT_TRUE(WaitFor([] { return Subjects() == (QStringList{"beta", "delta"}); })) << "only what is new";
    });
}

TEST_F(Filing, CheckWhileAnotherFolderIsOpen) {
    std::string withNul = PlainMail("delta");
    withNul[withNul.find("The text") + 3] = 0;
    server.Put("alice", withNul);
    MakeProfile(server.Address(), false);
    Sitting([&] {
        ClickRow("treeProfiles", "Saved");
        Click("btnCheckEmail");
        EXPECT_TRUE(WaitFor([] { return IndexSize("Inbox") == 24 + 4 * 208; }));
        EXPECT_TRUE(WaitFor([] { return RunningChecks() == 0; }));
        EXPECT_EQ(Subjects(), QStringList()) << "a row here would name message 1 of this folder";
        OpenInbox();
        EXPECT_EQ(Subjects(), (QStringList{"alpha", "beta", "gamma", "delta"}));
        ChooseFromRowMenu("treeMessageHeaders", "delta", {"Move To...", "Saved"});
    });
    EXPECT_EQ(server.Count("alice"), 0);
    EXPECT_EQ(FileText(Root() + "home/Saved/1"), withNul) << "whole, since it is nowhere else any more";
}

TEST_F(Filing, ServerMailIsListedAgainWhenTheInboxIsReopened) {
    MakeProfile(server.Address(), true);
    Sitting([&] {
        OpenInbox();
        ClickRow("treeProfiles", "Saved");
        EXPECT_EQ(Subjects(), QStringList());
        OpenInbox();
        EXPECT_EQ(Subjects(), (QStringList{"alpha", "beta", "gamma"}));
    });
}

} // namespace
