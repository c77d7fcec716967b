// Making, changing and deleting a profile in the accounts dialog, as a person does it.

#include "fixtures/mode.h"
#include "fixtures/temp_home.h"
#include "names/widgets.h"
#include "store/folder.h"
#include "ui/account_steps.h"
#include "ui/person.h"
#include "ui/sample.h"

#include <QApplication>
#include <QClipboard>
#include <QLineEdit>
#include <QTest>
#include <QTreeView>

#include <filesystem>
#include <gtest/gtest.h>

namespace fs = std::filesystem;

namespace {

void OpenAccounts() {
    ChooseFromMenuBar("mnuSettings_Accounts");
    Find("dlgAccounts");
}

void EditAccount(char const *name) {
    OpenAccounts();
    ClickRow("treeAccounts_Accounts", name);
    Click("btnEditEmailAccount");
}

void FillFirstProfile() {
    EXPECT_TRUE(fs::is_directory(Root()));
    EXPECT_FALSE(fs::exists(Root() + ".tmp")) << "the scratch directory comes with the second start";
    EXPECT_EQ(Rows("treeProfiles"), QStringList());
    WhenAsked("Close");
    Click("btnCheckEmail");
    EXPECT_EQ(Boxes(), QStringList("Missing Account Information|You must first create an email profile"));

    OpenAccounts();
    for (char const *name : {"news", "a/b"}) {
        Click("btnNewEmailAccount");
        // A paste passes the filter of keys when it begins with a letter.
        qobject_cast<QLineEdit *>(Find("txtAccount_AccountName"))->insert(name);
        WhenAsked("Close");
        Click("btnAccount_Save");
        EXPECT_EQ(Boxes().last(), "Error|A profile cannot have this name.");
        Click("btnCancelAccounts");
    }
    EXPECT_EQ(Boxes().size(), 3);
    EXPECT_FALSE(fs::exists(Root() + "news.dat"));
    EXPECT_FALSE(fs::exists(Root() + "a"));

    Click("btnNewEmailAccount");
    EXPECT_EQ(Text("lblAccountsTitle"), "New Profile");
    Type("txtAccount_AccountName", "ho-m.e!");
    EXPECT_EQ(Text("txtAccount_AccountName"), "home") << "punctuation is refused key by key";
    Type("txtAccount_POPServer", "127.0.0.1:1");
    Type("txtAccount_SMTPServer", "mail.example.org");
    TypeAccount("txtAccount_");
}

void SaveFirstProfile() {
    Click("btnAccount_Save");
    EXPECT_EQ(Text("txtAccount_AccountName"), "");
    EXPECT_EQ(Rows("treeAccounts_Accounts"), QStringList("home"));
    EXPECT_EQ(FileText(Root() + "home.dat"), "127.0.0.1:1\nmail.example.org\nalice\nc2VjcmV0\nAlice Archer\n"
                                             "alice@example.org\n300\nLEAVEONSERVER\n/home/alice/.signature\n\n\n");
    EXPECT_EQ(ModeOf(Root() + "home.dat"), 0600u);
    EXPECT_EQ(ModeOf(Root() + "home"), 0700u);
    for (char const *folder : {"Inbox", "Saved", "Outbox"})
        EXPECT_EQ(FileText(Root() + "home/" + folder + "/index2"), std::string("\2\0\1", 4) + std::string(20, '\0'));
}

void ChangeProfile() {
    EditAccount("home");
    EXPECT_EQ(Text("lblAccountsTitle"), "Edit Profile");
    EXPECT_EQ(Text("txtAccount_AccountName"), "home");
    EXPECT_EQ(Text("txtAccount_Password"), "******");
    EXPECT_EQ(Text("txtAccount_Fullname"), "Alice Archer");
    TypeMore("txtAccount_AccountName", "x");
    EXPECT_EQ(Text("txtAccount_AccountName"), "home") << "a profile keeps its name";
    QApplication::clipboard()->setText("new\t one\r\n");
    Type("txtAccount_Password", "");
    Press("txtAccount_Password", Qt::Key_V, Qt::ControlModifier);
    EXPECT_EQ(Text("txtAccount_Password"), "*******") << "without control characters and the line's end";
    Type("numCheckEmailInterval", "60");
    Click("tlgAccount_LeaveonServer");
    QString const file = QString::fromStdString(Root() + "home.dat");
    WhenAskedForFile(file);
    Click("txtAccount_BrowseSignature");
    EXPECT_EQ(Text("txtAccount_Signature"), file);
    WhenAskedForFile("");
    Click("txtAccount_BrowseSignature");
    EXPECT_EQ(Text("txtAccount_Signature"), "") << "cancelling clears the field";
    Click("btnAccount_Save");
    EXPECT_EQ(FileText(Root() + "home.dat"), "127.0.0.1:1\nmail.example.org\nalice\nbmV3IG9uZQ==\nAlice Archer\n"
                                             "alice@example.org\n60\nREMOVEFROMSERVER\n\n\n\n");
}

TEST(Accounts, FirstProfileEditedFoundAgainAndDeleted) {
    ClearTempHome();
    QStringList const rows{"home", "Inbox", "Outbox", "Saved"};
    Sitting([&] {
        FillFirstProfile();
        SaveFirstProfile();
        Click("btnCloseAccounts_Activated");
        EXPECT_EQ(Rows("treeProfiles"), rows);
    });
    Sitting([&] {
        EXPECT_EQ(ModeOf(Root() + ".tmp"), 0700u);
        EXPECT_EQ(Rows("treeProfiles"), rows);
        ChangeProfile();
        DeleteAccount("treeAccounts_Accounts", "btnDeleteEmailAccount", Root() + "home");
        EXPECT_EQ(Rows("treeProfiles"), QStringList());
    });
}

/// The folder of the profile that comes last in the tree.
void ClickLastSaved() {
    auto *const tree = qobject_cast<QTreeView *>(Find("treeProfiles"));
    QModelIndex const profile = tree->model()->index(tree->model()->rowCount() - 1, 0);
    QModelIndex const folder = tree->model()->index(2, 0, profile);
    EXPECT_EQ(folder.data().toString(), "Saved");
    tree->scrollTo(folder);
    QTest::mouseClick(tree->viewport(), Qt::LeftButton, {}, tree->visualRect(folder).center());
    Wait(10);
}

TEST(Accounts, RowsOfAProfileThatWasSavedAreNotAnothers) {
    ClearTempHome();
    for (char const *name : {"home", "work"}) {
        MakeProfile("127.0.0.1:1", false, 300, name);
        EXPECT_EQ(AppendMessage((Root() + name + "/Saved/").c_str(), PlainMail(name)), 1);
    }
    Sitting([] {
        // A check takes the profile that comes first in the tree; the rows are the other's.
        char const *const last = Rows("treeProfiles").first() == "home" ? "work" : "home";
        ClickLastSaved();
        EXPECT_EQ(Subjects(), QStringList(last));
        ClickRow("treeMessageHeaders", last);
        EditAccount(last);
        Click("btnAccount_Save");
        Click("btnCloseAccounts_Activated");
        ASSERT_EQ(PtEnter(0), 0);
        PtGenTreeSelect(ABW_treeProfiles, PtGenTreeRootItem(ABW_treeProfiles));
        PtLeave(0);
        Click("btnCheckEmail");
        WaitForChecks();
        Click("btnDelete");
    });
    for (char const *name : {"home", "work"})
        EXPECT_EQ(FileText(Root() + name + "/Saved/1"), PlainMail(name)) << "nobody has asked to delete it";
}

} // namespace
