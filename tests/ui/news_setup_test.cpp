// News profiles and their newsgroups, as a person makes, changes and leaves them.

#include "fixtures/mode.h"
#include "fixtures/scripted_server.h"
#include "fixtures/temp_home.h"
#include "ui/account_steps.h"
#include "ui/person.h"
#include "ui/sample.h"
#include "widgets/open_profile.h"

#include <QTest>
#include <QTreeView>

#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>

namespace fs = std::filesystem;

namespace {

std::string News(std::string const &name) { return Root() + "news/" + name; }
std::string Groups() { return News("usenet/groups/"); }

void StoreListing(std::string const &text) { std::ofstream(News("usenet/listing"), std::ios::binary) << text; }

/// Names of the files of subscriptions, sorted.
QStringList Stored() {
    QStringList names;
    for (auto const &entry : fs::directory_iterator(Groups()))
        names << QString::fromStdString(entry.path().filename());
    names.sort();
    return names;
}

QStringList Sorted(QStringList rows) {
    rows.sort();
    return rows;
}

void OpenNewsAccounts() {
    ChooseFromMenuBar("mnuSettings_NewsAccounts");
    Find("dlgNewsAccounts");
}

void OpenGroups() {
    ChooseFromRowMenu("treeProfiles", "usenet", {"News", "Un/Subscribe"});
    Find("dlgNews");
}

void SaveIsRefused(char const *reason) {
    WhenAsked("Close");
    Click("btnSaveNewsAccount");
    EXPECT_EQ(Boxes().last(), QString("Error Saving Profile|") + reason);
}

/// The chosen row's group; it must be the current one and in sight.
QString Chosen() {
    auto *const tree = qobject_cast<QTreeView *>(Find("treeNews"));
    QModelIndex const row = tree->currentIndex();
    bool const seen = row.isValid() && tree->viewport()->rect().contains(tree->visualRect(row).center());
    EXPECT_TRUE(!row.isValid() || (seen && tree->selectionModel()->isRowSelected(row.row(), {})));
    return row.siblingAtColumn(1).data().toString();
}

/// The group that a search for the text arrives at.
QString Found(QString const &text) {
    Type("txtNewsFind", text);
    Click("btnNewsFind");
    return Chosen();
}

class NewsSetup : public testing::Test {
  protected:
    void SetUp() override { ClearTempHome(); }
};

TEST_F(NewsSetup, ProfileIsMadeEditedAndFoundAgain) {
    std::string record = "127.0.0.1:1119\nalice\nc2VjcmV0\nAlice Archer\nalice@example.org\n/home/alice/.signature"
                         "\n\n\n\n\n\n";
    Sitting([&] {
        OpenNewsAccounts();
        TakePicture("dlgNewsAccounts", "news-accounts-empty.png");
        Click("btnEditNewsAccount");
        EXPECT_EQ(Text("lblNewsAccountsTitle"), "") << "nothing is selected, nothing is edited";
        Click("btnNewNewsAccount");
        EXPECT_EQ(Text("lblNewsAccountsTitle"), "New Profile");
        TypeMore("txtNewsAccount_AccountName", ".hidden");
        Type("txtNewsAccount_NEWSServer", "127.0.0.1:1119");
        TypeAccount("txtNewsAccount_");
        TakePicture("dlgNewsAccounts", "news-accounts-new.png");
        SaveIsRefused("A profile cannot have this name.");
        Type("txtNewsAccount_AccountName", "work");
        Type("txtNewsAccount_Password", QString(49, 'p'));
        SaveIsRefused("The password is too long: at most 48 bytes fit.");
        EXPECT_TRUE(fs::is_empty(News("")));
        Type("txtNewsAccount_Password", "secret");
        fs::remove(News(""));
        std::ofstream(Root() + "news") << "no directory";
        SaveIsRefused("Error saving profile");
        fs::remove(Root() + "news");
        Click("btnSaveNewsAccount"); // everything is still in the fields
        EXPECT_EQ(FileText(News("work.dat")), record);
        EXPECT_EQ(ModeOf(News("work.dat")), 0600u);
        for (char const *directory : {"", "work", "work/groups"})
            EXPECT_EQ(ModeOf(News(directory)), 0700u) << directory;
        for (char const *field : {"txtNewsAccount_AccountName", "txtNewsAccount_NEWSServer",
                                  "txtNewsAccount_Username", "txtNewsAccount_Password", "txtNewsAccount_Fullname",
                                  "txtNewsAccount_Email", "txtNewsAccount_Signature", "lblNewsAccountsTitle"})
            EXPECT_EQ(Text(field), "") << field;
        EXPECT_EQ(Rows("treeNewsAccounts_Accounts"), QStringList("work"));
        Click("btnCloseNewsAccounts");
        EXPECT_FALSE(IsShown("dlgNewsAccounts"));
    });
    Sitting([&] {
        EXPECT_EQ(Rows("treeProfiles"), QStringList("work"));
        ClickRow("treeProfiles", "work");
        LentConnection const connection(*CurrentNewsProfile());
        OpenNewsAccounts();
        ClickRow("treeNewsAccounts_Accounts", "work");
        Click("btnEditNewsAccount");
        TakePicture("dlgNewsAccounts", "news-accounts-edit.png");
        EXPECT_EQ(Text("lblNewsAccountsTitle"), "Edit News Profile");
        EXPECT_EQ(Text("txtNewsAccount_NEWSServer"), "127.0.0.1:1119");
        EXPECT_EQ(Text("txtNewsAccount_Password"), "******");
        EXPECT_EQ(Text("txtNewsAccount_Signature"), "/home/alice/.signature");
        TypeMore("txtNewsAccount_AccountName", "x");
        EXPECT_EQ(Text("txtNewsAccount_AccountName"), "work") << "a profile keeps its name";
        Type("txtNewsAccount_Username", "bob");
        Click("btnSaveNewsAccount");
        EXPECT_EQ(FileText(News("work.dat")), record.replace(record.find("alice"), 5, "bob"));
        EXPECT_TRUE(connection.ClosedWithoutAWord());
        EXPECT_FALSE(currentProfile);
    });
}

TEST_F(NewsSetup, DeletingAsksAndRemovesAll) {
    MakeProfile("127.0.0.1:1", false);
    // Names that lead elsewhere, or that no field can hold, are not shown.
    MakeNewsProfile("127.0.0.1:1", {"local.test", "local.music ", "a\nb", " ", std::string(200, 'g')});
    Sitting([] {
        QStringList const rows = Rows("treeProfiles");
        EXPECT_EQ(rows.mid(0, 5), (QStringList{"home", "Inbox", "Outbox", "Saved", "usenet"}));
        EXPECT_EQ(Sorted(rows.mid(5)), (QStringList{"local.music", "local.test"}));
        ClickRow("treeProfiles", "usenet");
        LentConnection const connection(*CurrentNewsProfile());
        OpenNewsAccounts();
        DeleteAccount("treeNewsAccounts_Accounts", "btnDeleteNewsAccount", News("usenet"));
        EXPECT_EQ(Rows("treeProfiles"), (QStringList{"home", "Inbox", "Outbox", "Saved"}));
        EXPECT_TRUE(connection.ClosedWithoutAWord());
        EXPECT_FALSE(currentProfile);
    });
}

TEST_F(NewsSetup, GroupsAreSubscribedWithAClickAndFoundInTheTree) {
    MakeNewsProfile("127.0.0.1:1", {"local.old"});
    std::string listing;
    for (int i = 0; i < 300; i++)
        listing += "local.group" + std::to_string(i) + " 0000000010 0000000001 y\r\n";
    StoreListing(listing + "local.music 5 1 y\r\nlocal.mail 7 1 m");
    Sitting([] {
        OpenGroups();
        LentConnection const connection(*CurrentNewsProfile());
        EXPECT_EQ(Text("lblDlgNews"), "Subscribed Groups");
        EXPECT_EQ(Rows("treeNews"), QStringList("S|local.old"));
        EXPECT_EQ(Find("dlgNews")->windowTitle(), "Subscribe/Unsubscribe Newsgroups");
        TakePicture("dlgNews", "groups-subscribed.png");
        auto *const profiles = qobject_cast<QTreeView *>(Find("treeProfiles"));
        QModelIndex const old = profiles->indexBelow(profiles->model()->index(0, 0));
        QTest::mouseClick(profiles->viewport(), Qt::LeftButton, {}, profiles->visualRect(old).center());
        Wait(10);
        EXPECT_STREQ(currentFolder, "Inbox") << "the tree waits for the dialog";
        Press("base", Qt::Key_F5);
        EXPECT_EQ(Text("lblStatus"), "") << "so does the check";

        Click("btnShowNewsList");
        EXPECT_EQ(Text("lblDlgNews"), "Complete Group List");
        EXPECT_EQ(Find("dlgNews")->windowTitle(), "Subscribe/Unsubscribe Newsgroups");
        ASSERT_EQ(Rows("treeNews").size(), 302);
        EXPECT_EQ(Rows("treeNews").first(), "|local.group0");

        // Without a current row the search begins behind the first; the current one comes last.
        EXPECT_EQ(Found("group"), "local.group1 ");
        EXPECT_EQ(Found("local.m"), "local.music ");
        Press("txtNewsFind", Qt::Key_Return);
        EXPECT_EQ(Chosen(), "local.mail ");
        Press("txtNewsFind", Qt::Key_Return);
        EXPECT_EQ(Chosen(), "local.music ");
        EXPECT_EQ(Found("music"), "local.music ") << "there is no other";
        for (char const *nothing : {"MUSIC", "nowhere", ""})
            EXPECT_EQ(Found(nothing), "local.music ");
        EXPECT_EQ(Stored(), QStringList("local.old")) << "searching subscribes to nothing";
        TakePicture("dlgNews", "groups-found.png");

        for (char const *row : {"local.music", "local.group7", "local.group8", "local.group8"})
            ClickRow("treeNews", row);
        Press("treeNews", Qt::Key_Down); // moves only
        Press("treeNews", Qt::Key_Space);
        EXPECT_EQ(Rows("treeNews").filter("S|"), (QStringList{"S|local.group7", "S|local.group9", "S|local.music"}));
        EXPECT_EQ(Stored(), (QStringList{"local.group7 ", "local.group9 ", "local.music ", "local.old"}));
        EXPECT_EQ(ModeOf(Groups() + "local.music "), 0600u);
        EXPECT_TRUE(fs::is_empty(Groups() + "local.music "));
        TakePicture("dlgNews", "groups-complete.png");

        Click("btnShowSubscribedNewsList");
        ClickRow("treeNews", "local.old");
        Press("treeNews", Qt::Key_Space);
        Press("treeNews", Qt::Key_Space);
        EXPECT_EQ(Rows("treeNews").filter("local.old"), QStringList("|local.old"));
        Click("btnCloseNews");
        EXPECT_TRUE(connection.ClosedWithoutAWord());
        EXPECT_FALSE(currentProfile);
        EXPECT_EQ(Sorted(Rows("treeProfiles")),
                  (QStringList{"local.group7", "local.group9", "local.music", "usenet"}));
    });
    Sitting([] {
        EXPECT_EQ(Rows("treeProfiles").size(), 4);
        OpenGroups();
        Click("btnGetNewsListing");
        EXPECT_EQ(Text("lblNewsHint"), "Could not connect to the news server.");
        EXPECT_EQ(Rows("treeNews").size(), 3) << "nothing else happens";
        Click("btnShowNewsList");
        EXPECT_EQ(Rows("treeNews").size(), 302);
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

TEST_F(NewsSetup, NamesThatLeadElsewhereAreNeitherShownNorStored) {
    std::string const longest(199 - 1, 'g'), foreign("b\xFC"
                                                     "cher ");
    MakeNewsProfile("127.0.0.1:1", {std::string(200, 'h')});
    StoreListing("../evil 1 1 y\r\n.. 1 1 y\r\n. 1 1 y\r\n/etc/passwd 1 1 y\r\n\x01\x02 1 1 y\r\n 1 1 y\r\n" +
                 std::string(500, 'x') + " 1 1 y\r\n" + std::string(100000, 'y') + " 1 1 y\r\n" + longest +
                 " 1 1 y\r\n%s%n%d 1 1 y\r\n" + foreign + "1 1 y\r\nx 1 1 y\r\nwith" + std::string(1, '\0') +
                 "zero 1 1 y\r\nbare\r\nlast");
    Sitting([&] {
        OpenGroups();
        EXPECT_EQ(Rows("treeNews"), QStringList());
        Click("btnShowNewsList");
        EXPECT_EQ(Rows("treeNews"),
                  (QStringList{"|" + QString::fromStdString(longest), "|%s%n%d", "|bücher", "|x", "|with"}));
        for (char const *name : {"ggg", "%s%n%d", "cher", "with"})
            ClickRow("treeNews", name);
        EXPECT_EQ(Stored().size(), 5);
        for (std::string const &name : {longest + " ", std::string("%s%n%d "), foreign, std::string("with")})
            EXPECT_TRUE(fs::exists(Groups() + name)) << name;
        fs::remove_all(Groups());
        ClickRow("treeNews", "x");
        EXPECT_FALSE(fs::exists(Groups()));
        fs::remove(News("usenet/listing"));
        fs::create_directory(News("usenet/listing"));
        Click("btnShowNewsList");
        EXPECT_EQ(Rows("treeNews"), QStringList());
    });
}

TEST_F(NewsSetup, RefreshAsksTheServerOnAConnectionOfItsOwn) {
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
}

} // namespace
