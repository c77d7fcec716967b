// Making, changing and deleting a news profile, as a person does it.

#include "fixtures/mode.h"
#include "fixtures/temp_home.h"
#include "ui/account_steps.h"
#include "ui/person.h"
#include "ui/sample.h"
#include "widgets/open_profile.h"

#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>

namespace fs = std::filesystem;

namespace {

constexpr char kRecord[] =
    "127.0.0.1:1119\nalice\nc2VjcmV0\nAlice Archer\nalice@example.org\n/home/alice/.signature\n\n\n\n\n\n";

std::string News(std::string const &name) { return Root() + "news/" + name; }

void OpenNewsAccounts() {
    ChooseFromMenuBar("mnuSettings_NewsAccounts");
    Find("dlgNewsAccounts");
}

void FillNewProfile(char const *name = "work") {
    Click("btnNewNewsAccount");
    EXPECT_EQ(Text("lblNewsAccountsTitle"), "New Profile");
    TypeMore("txtNewsAccount_AccountName", name);
    Type("txtNewsAccount_NEWSServer", "127.0.0.1:1119");
    TypeAccount("txtNewsAccount_");
}

class NewsAccounts : public testing::Test {
  protected:
    void SetUp() override { ClearTempHome(); }
};

TEST_F(NewsAccounts, ProfileIsMadeEditedAndFoundAgain) {
    Sitting([] {
        OpenNewsAccounts();
        TakePicture("dlgNewsAccounts", "news-accounts-empty.png");
        Click("btnEditNewsAccount");
        EXPECT_EQ(Text("lblNewsAccountsTitle"), "") << "nothing is selected, nothing is edited";
        FillNewProfile();
        TakePicture("dlgNewsAccounts", "news-accounts-new.png");
        Click("btnSaveNewsAccount");
        EXPECT_EQ(FileText(News("work.dat")), kRecord);
        EXPECT_EQ(ModeOf(News("work.dat")), 0600u);
        for (char const *directory : {"", "work", "work/groups"})
            EXPECT_EQ(ModeOf(News(directory)), 0700u) << directory;
        for (char const *field : {"txtNewsAccount_AccountName", "txtNewsAccount_NEWSServer",
                                  "txtNewsAccount_Username", "txtNewsAccount_Password", "txtNewsAccount_Fullname",
                                  "txtNewsAccount_Email", "txtNewsAccount_Signature", "lblNewsAccountsTitle"})
            EXPECT_EQ(Text(field), "") << field;
        EXPECT_EQ(Rows("treeNewsAccounts_Accounts"), QStringList("work"));
        EXPECT_EQ(Rows("treeProfiles"), QStringList("work"));
        Click("btnCloseNewsAccounts");
        EXPECT_FALSE(IsShown("dlgNewsAccounts"));
    });
    Sitting([] {
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
        std::string wanted = kRecord;
        EXPECT_EQ(FileText(News("work.dat")), wanted.replace(wanted.find("alice"), 5, "bob"));
        EXPECT_TRUE(connection.ClosedWithoutAWord());
        EXPECT_FALSE(currentProfile);
    });
}

TEST_F(NewsAccounts, WhatCannotBeSavedStaysInTheFields) {
    Sitting([] {
        OpenNewsAccounts();
        FillNewProfile(".hidden");
        WhenAsked("Close");
        Click("btnSaveNewsAccount");
        EXPECT_EQ(Boxes().last(), "Error Saving Profile|A profile cannot have this name.");
        Type("txtNewsAccount_AccountName", "work");
        Type("txtNewsAccount_Password", QString(49, 'p'));
        WhenAsked("Close");
        Click("btnSaveNewsAccount");
        EXPECT_EQ(Boxes().last(), "Error Saving Profile|The password is too long: at most 48 bytes fit.");
        EXPECT_TRUE(fs::is_empty(News("")));

        Press("txtNewsAccount_Password", Qt::Key_Backspace);
        fs::remove(News(""));
        std::ofstream(Root() + "news") << "no directory";
        WhenAsked("Close");
        Click("btnSaveNewsAccount");
        EXPECT_EQ(Boxes().last(), "Error Saving Profile|Error saving profile");
        EXPECT_EQ(Text("txtNewsAccount_Username"), "alice");
        fs::remove(Root() + "news");
        Click("btnSaveNewsAccount");
        EXPECT_EQ(Rows("treeProfiles"), QStringList("work"));
        EXPECT_EQ(ModeOf(News("")), 0700u);
    });
}

TEST_F(NewsAccounts, DeletingAsksAndRemovesAll) {
    MakeProfile("127.0.0.1:1", false);
    // Names that lead elsewhere, or that no field can hold, are not shown.
    MakeNewsProfile("127.0.0.1:1", {"local.test", "local.music ", "a\nb", " ", std::string(200, 'g')});
    Sitting([] {
        QStringList rows = Rows("treeProfiles");
        EXPECT_EQ(rows.mid(0, 5), (QStringList{"home", "Inbox", "Outbox", "Saved", "usenet"}));
        rows.sort();
        EXPECT_EQ(rows.mid(4), (QStringList{"local.music", "local.test", "usenet"}));
        ClickRow("treeProfiles", "usenet");
        LentConnection const connection(*CurrentNewsProfile());
        OpenNewsAccounts();
        DeleteAccount("treeNewsAccounts_Accounts", "btnDeleteNewsAccount", News("usenet"));
        EXPECT_EQ(Rows("treeProfiles"), (QStringList{"home", "Inbox", "Outbox", "Saved"}));
        EXPECT_TRUE(connection.ClosedWithoutAWord());
        EXPECT_FALSE(currentProfile);
    });
}

} // namespace
