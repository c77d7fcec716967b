// The address book as a person uses it: contacts added, changed, deleted, books chosen and made.

#include "fixtures/mode.h"
#include "fixtures/temp_home.h"
#include "ui/person.h"
#include "ui/sample.h"

#include <QApplication>
#include <QClipboard>
#include <QComboBox>
#include <QLineEdit>
#include <QTest>

#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>

namespace fs = std::filesystem;

namespace {

constexpr char kTwo[] = "Ann\tann@example.org\tfriend\nBob\tbob@example.org\t\n";

void StartWith(std::string const &global) {
    ClearTempHome();
    fs::create_directory(Root());
    std::ofstream(Root() + ".global", std::ios::binary) << global;
}

void OpenBook() {
    Click("btnAddressBook");
    Find("winAddressBook");
}

QSize WindowSize() { return Find("winAddressBook")->size(); }

void Fill(char const *name, char const *address, char const *note) {
    Type("txtContactName", name);
    Type("txtContactEmail", address);
    Type("txtContactMisc", note);
}

/// Steps through the list of books with a key.
void ChooseBook(Qt::Key key, QString const &name) {
    auto *const box = qobject_cast<QComboBox *>(Find("cmbAddressBook"));
    for (int left = box->count(); box->currentText() != name && left > 0; left--)
        QTest::keyClick(box, key);
    ASSERT_EQ(box->currentText(), name);
}

TEST(AddressBook, ContactsAreAddedEditedAndDeleted) {
    ClearTempHome();
    Sitting([] {
        ChooseFromMenuBar("mnuSettings_AddressBook");
        EXPECT_EQ(WindowSize(), QSize(376, 178));
        EXPECT_FALSE(IsShown("txtContactName"));
        EXPECT_EQ(ModeOf(Root() + ".global"), 0600u) << "opening makes the first book";
        TakePicture("winAddressBook", "book-empty.png");

        Click("btnAddContact");
        EXPECT_EQ(WindowSize(), QSize(376, 280));
        Fill("Bob", "bob@example.org", "");
        TakePicture("winAddressBook", "book-add.png");
        Click("btnSaveContacts");
        EXPECT_EQ(WindowSize(), QSize(376, 178));
        EXPECT_FALSE(IsShown("txtContactName"));
        Click("btnAddContact");
        EXPECT_EQ(Text("txtContactName") + Text("txtContactEmail"), "");
        Fill("Ann", "ann@example.org", "friend");
        Press("txtContactMisc", Qt::Key_Return);
        EXPECT_EQ(FileText(Root() + ".global"), kTwo) << "sorted";
        EXPECT_EQ(Rows("treeContacts"), (QStringList{"Ann|ann@example.org|friend", "Bob|bob@example.org|"}));
        TakePicture("winAddressBook", "book-two.png");

        ClickRow("treeContacts", "Ann");
        Click("btnEditContact");
        EXPECT_EQ(WindowSize(), QSize(376, 280));
        EXPECT_EQ(Rows("treeContacts"), QStringList("Bob|bob@example.org|")) << "it has moved into the fields";
        EXPECT_EQ(Text("txtContactEmail"), "ann@example.org");
        Type("txtContactName", "Zoe");
        Click("btnSaveContacts");
        EXPECT_EQ(FileText(Root() + ".global"), "Bob\tbob@example.org\t\nZoe\tann@example.org\tfriend\n");

        ClickRow("treeContacts", "Bob");
        Click("btnDeleteContact");
        EXPECT_EQ(FileText(Root() + ".global"), "Zoe\tann@example.org\tfriend\n");
        EXPECT_EQ(Rows("treeContacts"), QStringList("Zoe|ann@example.org|friend"));
        Click("btnDeleteContact");
        EXPECT_EQ(Rows("treeContacts").size(), 1) << "nothing is selected: nothing is deleted";
        Click("btnCloseAddressBook");
        EXPECT_FALSE(IsShown("winAddressBook"));
    });
}

TEST(AddressBook, NothingIsLostByHalfDoneEdits) {
    StartWith(std::string("\tcid@example.org\t\n") + kTwo + "\nhidden\th@example.org\t\n");
    Sitting([] {
        OpenBook();
        EXPECT_EQ(Rows("treeContacts"),
                  (QStringList{"|cid@example.org|", "Ann|ann@example.org|friend", "Bob|bob@example.org|"}));
        ClickRow("treeContacts", "Ann");
        Click("btnEditContact");
        ClickRow("treeContacts", "Bob");
        Click("btnEditContact");
        EXPECT_EQ(Text("txtContactName"), "Bob");
        Type("txtContactName", "Rob");
        QApplication::clipboard()->setText("a\tb\r\nc");
        Press("txtContactMisc", Qt::Key_V, Qt::ControlModifier);
        EXPECT_EQ(Text("txtContactMisc"), "a b  c") << "nothing that would end a field or the line";
        Click("btnSaveContacts");
        ClickRow("treeContacts", "cid");
        Click("btnEditContact");
        EXPECT_EQ(Text("txtContactName"), "cid@example.org") << "an empty name moves the others up";
        ClickRow("treeContacts", "Ann");
        Click("btnDeleteContact");
        EXPECT_EQ(FileText(Root() + ".global"), "\tcid@example.org\t\nRob\tbob@example.org\ta b  c\n");
        EXPECT_FALSE(IsShown("txtContactName"));
        ClickRow("treeContacts", "Rob");
        Click("btnEditContact");
        Click("btnCloseAddressBook");
        OpenBook();
        EXPECT_EQ(Rows("treeContacts").size(), 2);
        EXPECT_EQ(WindowSize(), QSize(376, 178));
    });
}

TEST(AddressBook, BooksAreChosenMadeAndRefused) {
    StartWith(kTwo);
    std::ofstream(Root() + ".work") << "Will\twill@example.org\t\n";
    Sitting([] {
        OpenBook();
        auto *const box = qobject_cast<QComboBox *>(Find("cmbAddressBook"));
        EXPECT_EQ(box->currentText(), "global");
        EXPECT_EQ(box->count(), 2) << "the scratch directory is no book";
        ChooseBook(Qt::Key_Down, "work");
        EXPECT_EQ(Rows("treeContacts"), QStringList("Will|will@example.org|"));

        Click("btnAddContact");
        Fill("Eve", "eve@example.org", "");
        for (char const *name : {"tmp", ".work", "a/b", ".."}) {
            Type("cmbAddressBook", name);
            WhenAsked("Close");
            Click("btnSaveContacts");
            EXPECT_EQ(Boxes().last(), "Error|An address book cannot have this name.") << name;
            EXPECT_EQ(Text("txtContactName"), "Eve") << "nothing typed is lost";
        }
        Type("cmbAddressBook", "friends");
        Click("btnSaveContacts");
        EXPECT_EQ(FileText(Root() + ".friends"), "Eve\teve@example.org\t\n");
        EXPECT_EQ(FileText(Root() + ".work"), "Will\twill@example.org\t\n");
        EXPECT_EQ(box->count(), 3);
        EXPECT_EQ(box->currentText(), "friends");
        EXPECT_EQ(Rows("treeContacts"), QStringList("Eve|eve@example.org|"));
        TakePicture("winAddressBook", "book-new.png");

        // A name that was typed and not chosen: the list shows another book, which must not replace this one.
        ClickRow("treeContacts", "Eve");
        Find("winAddressBook")->setFocus();
        box->lineEdit()->setText("work");
        WhenAsked("Close");
        Click("btnDeleteContact");
        EXPECT_EQ(Boxes().last(), "Error|Choose this address book from the list first.");
        EXPECT_EQ(FileText(Root() + ".work"), "Will\twill@example.org\t\n");
        ChooseBook(Qt::Key_Up, "global");
        EXPECT_EQ(Rows("treeContacts").size(), 2);
    });
}

} // namespace
