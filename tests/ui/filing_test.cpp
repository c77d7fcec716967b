// Folders: making and deleting them, copying, moving and deleting messages, on disk and on the server; and which row
// is chosen after one has gone.

#include "fixtures/dovecot_server.h"
#include "fixtures/temp_home.h"
#include "ui/person.h"
#include "ui/sample.h"

#include <QTreeView>

#include <filesystem>
#include <gtest/gtest.h>

namespace fs = std::filesystem;

namespace {

/// The subject of the row that is current and selected; "" when those are not one and the same row.
QString Chosen() {
    auto *const list = qobject_cast<QTreeView *>(Find("treeMessageHeaders"));
    QModelIndexList const selected = list->selectionModel()->selectedRows();
    if (selected.size() != 1 || selected.first().row() != list->currentIndex().row())
        return {};
    return selected.first().siblingAtColumn(1).data().toString().trimmed();
}

void ExpectRows(QStringList const &subjects, QString const &chosen) {
    EXPECT_EQ(Subjects(), subjects);
    EXPECT_EQ(Chosen(), chosen) << "where a row was removed its next one is chosen, behind the last one that before";
}

class Filing : public testing::Test {
  protected:
    void SetUp() override {
        ClearTempHome();
        ASSERT_GT(server.Port(), 0);
        for (char const *subject : {"alpha", "beta", "gamma", "delta"})
            server.Put("alice", PlainMail(subject));
    }
    DovecotServer server;
};

void AddTravel() {
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
}

void DeleteTravel() {
    WhenAsked("Cancel");
    ChooseFromRowMenu("treeProfiles", "Travel", {"Delete Folder"});
    EXPECT_TRUE(fs::exists(Root() + "home/Travel/1"));
    WhenAsked("Delete it");
    ChooseFromRowMenu("treeProfiles", "Travel", {"Delete Folder"});
    EXPECT_TRUE(WaitFor([] { return !fs::exists(Root() + "home/Travel"); }));
    EXPECT_FALSE(Rows("treeProfiles").contains("Travel"));
    EXPECT_TRUE(Boxes().last().startsWith("Warning!|"));
}

TEST_F(Filing, StoredMessages) {
    std::string withNul = PlainMail("nul");
    withNul[withNul.find("The text") + 3] = 0;
    server.Put("alice", withNul);
    MakeProfile(server.Address(), false);
    Sitting([&] {
        ClickRow("treeProfiles", "Saved");
        Click("btnCheckEmail");
        WaitForChecks();
        EXPECT_EQ(IndexSize("Inbox"), 24 + 5 * 208);
        EXPECT_EQ(Subjects(), QStringList()) << "a row here would name message 1 of this folder";
        OpenInbox();
        EXPECT_EQ(Subjects(), (QStringList{"alpha", "beta", "gamma", "delta", "nul"}));
        ChooseFromRowMenu("treeMessageHeaders", "nul", {"Move To...", "Saved"});
        EXPECT_EQ(FileText(Root() + "home/Saved/1"), withNul) << "whole, since it is nowhere else any more";
        ExpectRows({"alpha", "beta", "gamma", "delta"}, "delta");

        AddTravel();
        ChooseFromRowMenu("treeMessageHeaders", "alpha", {"Copy To...", "Travel"});
        EXPECT_EQ(FileText(Root() + "home/Travel/1"), PlainMail("alpha"));
        ExpectRows({"alpha", "beta", "gamma", "delta"}, "alpha");
        ChooseFromRowMenu("treeMessageHeaders", "beta", {"Move To...", "Travel"});
        EXPECT_EQ(FileText(Root() + "home/Travel/2"), PlainMail("beta"));
        EXPECT_FALSE(fs::exists(Root() + "home/Inbox/2"));
        ExpectRows({"alpha", "gamma", "delta"}, "gamma");

        ClickRow("treeMessageHeaders", "gamma");
        ASSERT_TRUE(PageShows("The text of gamma."));
        Click("btnDelete");
        EXPECT_FALSE(fs::exists(Root() + "home/Inbox/3"));
        EXPECT_EQ(IndexSize("Inbox"), 24 + 5 * 208) << "records stay in place";
        ExpectRows({"alpha", "delta"}, "delta");
        EXPECT_TRUE(PageShows("The text of gamma.")) << "nobody has opened the next one";
        Press("treeMessageHeaders", Qt::Key_Delete);
        ExpectRows({"alpha"}, "alpha");
        Press("treeMessageHeaders", Qt::Key_Delete);
        ExpectRows({}, "");
        Press("treeMessageHeaders", Qt::Key_Delete);

        ClickRow("treeProfiles", "Travel");
        EXPECT_EQ(Subjects(), (QStringList{"alpha", "beta"}));
        ClickRow("treeProfiles", "Travel");
        EXPECT_EQ(Subjects(), (QStringList{"alpha", "beta", "alpha", "beta"}))
            << "the same folder again adds its rows";
        DeleteTravel();
        EXPECT_EQ(Subjects(), QStringList());
    });
    EXPECT_EQ(server.Count("alice"), 0);
}

TEST_F(Filing, MessagesOnTheServer) {
    MakeProfile(server.Address(), true);
    Sitting([&] {
        OpenInbox();
        ChooseFromRowMenu("treeMessageHeaders", "alpha", {"Copy To...", "Saved"});
        EXPECT_EQ(FileText(Root() + "home/Saved/1"), PlainMail("alpha"));
        ExpectRows({"alpha", "beta", "gamma", "delta"}, "alpha");
        ChooseFromRowMenu("treeMessageHeaders", "alpha", {"Move To...", "Saved"});
        EXPECT_EQ(FileText(Root() + "home/Saved/2"), PlainMail("alpha"));
        ExpectRows({"beta", "gamma", "delta"}, "beta");
        EXPECT_EQ(server.Count("alice"), 3);
        // The server numbers anew: what was message 3 is 2 now.
        ClickRow("treeMessageHeaders", "gamma");
        EXPECT_TRUE(PageShows("The text of gamma."));
        Click("btnDelete");
        ExpectRows({"beta", "delta"}, "delta");
        Press("treeMessageHeaders", Qt::Key_Delete);
        ExpectRows({"beta"}, "beta");
        EXPECT_EQ(server.Count("alice"), 1);
        ClickRow("treeMessageHeaders", "beta");
        EXPECT_TRUE(PageShows("The text of beta."));
        server.Put("alice", PlainMail("epsilon"));
        Click("btnCheckEmail");
        WaitForChecks();
        EXPECT_EQ(Subjects(), (QStringList{"beta", "epsilon"})) << "only what is new";
        ClickRow("treeProfiles", "Saved");
        EXPECT_EQ(Subjects(), (QStringList{"alpha", "alpha"}));
        OpenInbox();
        EXPECT_EQ(Subjects(), (QStringList{"beta", "epsilon"})) << "listed again";
    });
}

} // namespace
