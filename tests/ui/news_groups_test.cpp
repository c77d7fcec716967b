// Subscribing to newsgroups, as a person does it, from a group list that was fetched before.

#include "fixtures/mode.h"
#include "fixtures/scripted_server.h"
#include "fixtures/temp_home.h"
#include "ui/account_steps.h"
#include "ui/person.h"
#include "ui/sample.h"
#include "widgets/open_profile.h"

#include <QTreeView>

#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>

namespace fs = std::filesystem;

namespace {

std::string Profile() { return Root() + "news/usenet/"; }

void StoreListing(std::string const &text) { std::ofstream(Profile() + "listing", std::ios::binary) << text; }

/// Names of the files of subscriptions, sorted.
QStringList Stored() {
    QStringList names;
    for (auto const &entry : fs::directory_iterator(Profile() + "groups"))
        names << QString::fromStdString(entry.path().filename());
    names.sort();
    return names;
}

void OpenGroups() {
    ChooseFromRowMenu("treeProfiles", "usenet", {"News", "Un/Subscribe"});
    Find("dlgNews");
}

/// The chosen row's group; it must be the current one and in sight.
QString Chosen() {
    auto *const tree = qobject_cast<QTreeView *>(Find("treeNews"));
    QModelIndex const row = tree->currentIndex();
    bool const seen = row.isValid() && tree->viewport()->rect().contains(tree->visualRect(row).center());
    EXPECT_TRUE(!row.isValid() || (seen && tree->selectionModel()->isRowSelected(row.row(), {})));
    return row.siblingAtColumn(1).data().toString();
}

void Search(QString const &text) {
    Type("txtNewsFind", text);
    Click("btnNewsFind");
}

class NewsGroups : public testing::Test {
  protected:
    void SetUp() override {
        ClearTempHome();
        MakeNewsProfile("127.0.0.1:1");
    }
};

TEST_F(NewsGroups, SubscribedWithAClickAndFoundInTheTree) {
    std::string listing;
    for (int i = 0; i < 300; i++)
        listing += "local.group" + std::to_string(i) + " 0000000010 0000000001 y\r\n";
    StoreListing(listing + "local.music 5 1 y\r\nlocal.mail 7 1 m");
    std::ofstream(Profile() + "groups/local.old");
    Sitting([] {
        OpenGroups();
        LentConnection const connection(*CurrentNewsProfile());
        EXPECT_EQ(Text("lblDlgNews"), "Subscribed Groups");
        EXPECT_EQ(Rows("treeNews"), QStringList("S|local.old"));
        EXPECT_EQ(Find("dlgNews")->windowTitle(), "Subscribe/Unsubscribe Newsgroups");
        TakePicture("dlgNews", "groups-subscribed.png");
        ClickRow("treeProfiles", "local.old");
        EXPECT_STREQ(currentFolder, "Inbox") << "the tree waits for the dialog";
        Press("base", Qt::Key_F5);
        EXPECT_EQ(Text("lblStatus"), "") << "so does the check";

        Click("btnShowNewsList");
        EXPECT_EQ(Text("lblDlgNews"), "Complete Group List");
        EXPECT_EQ(Find("dlgNews")->windowTitle(), "Subscribe/Unsubscribe Newsgroups");
        ASSERT_EQ(Rows("treeNews").size(), 302);
        EXPECT_EQ(Rows("treeNews").first(), "|local.group0");

        // Without a current row the search begins behind the first; the current one comes last.
        Search("group");
        EXPECT_EQ(Chosen(), "local.group1 ");
        Search("local.m");
        EXPECT_EQ(Chosen(), "local.music ");
        Press("txtNewsFind", Qt::Key_Return);
        EXPECT_EQ(Chosen(), "local.mail ");
        Press("txtNewsFind", Qt::Key_Return);
        EXPECT_EQ(Chosen(), "local.music ");
        Search("music");
        EXPECT_EQ(Chosen(), "local.music ") << "there is no other";
        for (char const *nothing : {"MUSIC", "nowhere", ""}) {
            Search(nothing);
            EXPECT_EQ(Chosen(), "local.music ");
        }
        EXPECT_EQ(Stored(), QStringList("local.old")) << "searching subscribes to nothing";
        TakePicture("dlgNews", "groups-found.png");

        ClickRow("treeNews", "local.music");
        ClickRow("treeNews", "local.group7");
        ClickRow("treeNews", "local.group8");
        ClickRow("treeNews", "local.group8");
        Press("treeNews", Qt::Key_Down); // moves only
        Press("treeNews", Qt::Key_Space);
        EXPECT_EQ(Rows("treeNews").filter("S|"), (QStringList{"S|local.group7", "S|local.group9", "S|local.music"}));
        EXPECT_EQ(Stored(), (QStringList{"local.group7 ", "local.group9 ", "local.music ", "local.old"}));
        EXPECT_EQ(ModeOf(Profile() + "groups/local.music "), 0600u);
        EXPECT_TRUE(fs::is_empty(Profile() + "groups/local.music "));
        TakePicture("dlgNews", "groups-complete.png");

        Click("btnShowSubscribedNewsList");
        ClickRow("treeNews", "local.old");
        Press("treeNews", Qt::Key_Space);
        Press("treeNews", Qt::Key_Space);
        EXPECT_EQ(Rows("treeNews").filter("local.old"), QStringList("|local.old"));
        Click("btnCloseNews");
        EXPECT_FALSE(currentProfile);
        EXPECT_TRUE(connection.ClosedWithoutAWord());
        QStringList rows = Rows("treeProfiles");
        rows.sort();
        EXPECT_EQ(rows, (QStringList{"local.group7", "local.group9", "local.music", "usenet"}));
    });
    Sitting([] {
        EXPECT_EQ(Rows("treeProfiles").size(), 4);
        OpenGroups();
        EXPECT_EQ(Rows("treeNews").size(), 3);
        Press("treeNews", Qt::Key_Escape);
        EXPECT_FALSE(IsShown("dlgNews"));
        ClickRow("treeProfiles", "usenet");
        Click("btnCheckEmail");
        EXPECT_EQ(Text("lblStatus"), "Choose a newsgroup to read first");
        ClickRow("treeProfiles", "local.music");
        EXPECT_TRUE(WaitFor([] { return Text("lblStatus").startsWith("Could not connect"); }));
        OpenGroups(); // the program ends with the dialog open
    });
}

TEST_F(NewsGroups, NamesThatLeadElsewhereAreNeitherShownNorStored) {
    std::string const longest(199 - 1, 'g');
    StoreListing("../evil 1 1 y\r\n.. 1 1 y\r\n. 1 1 y\r\n/etc/passwd 1 1 y\r\n\x01\x02 1 1 y\r\n 1 1 y\r\n" +
                 std::string(500, 'x') + " 1 1 y\r\n" + std::string(100000, 'y') + " 1 1 y\r\n" + longest +
                 " 1 1 y\r\n%s%n%d 1 1 y\r\nb\xFC"
                 "cher 1 1 y\r\nx 1 1 y\r\nwith" +
                 std::string(1, '\0') + "zero 1 1 y\r\nbare\r\nlast");
    std::ofstream(Profile() + "groups/" + std::string(200, 'h'));
    Sitting([&] {
        OpenGroups();
        EXPECT_EQ(Rows("treeNews"), QStringList());
        Click("btnShowNewsList");
        EXPECT_EQ(Rows("treeNews"),
                  (QStringList{"|" + QString::fromStdString(longest), "|%s%n%d", "|bücher", "|x", "|with"}));
        for (char const *name : {"ggg", "%s%n%d", "cher", "with"})
            ClickRow("treeNews", name);
        EXPECT_EQ(Stored().size(), 5);
        for (std::string const &name : {longest + " ", std::string("%s%n%d "),
                                        std::string("b\xFC"
                                                    "cher "),
                                        std::string("with")})
            EXPECT_TRUE(fs::exists(Profile() + "groups/" + name)) << name;
        fs::remove_all(Profile() + "groups");
        ClickRow("treeNews", "x");
        EXPECT_FALSE(fs::exists(Profile() + "groups"));
        fs::remove(Profile() + "listing");
        fs::create_directory(Profile() + "listing");
        Click("btnShowNewsList");
        EXPECT_EQ(Rows("treeNews"), QStringList());
    });
}

TEST_F(NewsGroups, RefreshAsksTheServerOnAConnectionOfItsOwn) {
    // The first answer is taken and the connection closed; the second LIST's is nobody's.
    ScriptedServer server({{Send("200 ready\r\n"), Expect("LIST"),
                            Send("215 follows\r\nlocal.a 1 1 y\r\nlocal.b 1 1 y\r\n.\r\n"), Expect("LIST"), Stall()},
                           {Send("502 go away\r\n")}});
    MakeNewsProfile(server.Address());
    Sitting([] {
        OpenGroups();
        Click("btnGetNewsListing");
        EXPECT_EQ(Text("lblDlgNews"), "Complete Group List");
        EXPECT_EQ(Rows("treeNews"), (QStringList{"|local.a", "|local.b"}));
        EXPECT_TRUE(Text("lblNewsHint").startsWith("Click a group"));
        EXPECT_LT(CurrentNewsProfile()->serverSocket, 1);
        Click("btnGetNewsListing");
        EXPECT_EQ(Text("lblNewsHint"), "The news server gave no group list.");
    });
    MakeNewsProfile("127.0.0.1:1");
    StoreListing("local.kept 1 1 y\r\n");
    Sitting([] {
        OpenGroups();
        Click("btnGetNewsListing");
        EXPECT_EQ(Text("lblNewsHint"), "Could not connect to the news server.");
        EXPECT_EQ(Text("lblDlgNews"), "Subscribed Groups") << "nothing else happens";
    });
    EXPECT_EQ(FileText(Profile() + "listing"), "local.kept 1 1 y\r\n");
}

} // namespace
