// The address book as a person uses it: contacts added, changed, deleted, and picked into a message's field.

#include "Pt.h"
#include "fixtures/temp_home.h"
#include "profiles/address_book.h"
#include "ui/person.h"
#include "ui/sample.h"
#include "ui/widgets.h"
#include "widgets/toolkit.h"

#include <QApplication>
#include <QClipboard>
#include <QComboBox>
#include <QLineEdit>
#include <QTest>

#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <sys/stat.h>

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

/// Types a book's name over the old one.
void NameBook(QString const &name) { Type("cmbAddressBook", name); }

void ChooseBook(QString const &name) {
    auto *const box = qobject_cast<QComboBox *>(Find("cmbAddressBook"));
    int const wanted = box->findText(name);
    ASSERT_GE(wanted, 0) << name.toStdString();
    box->setFocus();
    QTest::keyClick(box, wanted > box->currentIndex() ? Qt::Key_End : Qt::Key_Home);
    for (int left = box->count(); box->currentIndex() != wanted && left > 0; left--)
        QTest::keyClick(box, wanted > box->currentIndex() ? Qt::Key_Down : Qt::Key_Up);
    ASSERT_EQ(box->currentText(), name);
}

TEST(AddressBook, ContactsAreAddedEditedAndDeleted) {
    ClearTempHome();
    Sitting([] {
        ChooseFromMenuBar("mnuSettings_AddressBook");
        EXPECT_EQ(WindowSize(), QSize(376, 178));
        EXPECT_FALSE(IsShown("txtContactName"));
        struct stat status {};
        EXPECT_EQ(stat((Root() + ".global").c_str(), &status), 0) << "opening makes the first book";
        EXPECT_EQ(status.st_mode & 07777, 0600u);
        EXPECT_EQ(status.st_size, 0);
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
    StartWith(std::string("Cid\tcid@example.org\t\n") + kTwo);
    Sitting([] {
        OpenBook();
        ClickRow("treeContacts", "Ann");
        Click("btnEditContact");
        ClickRow("treeContacts", "Bob");
        Click("btnEditContact");
        EXPECT_EQ(Text("txtContactName"), "Bob");
        Type("txtContactName", "Rob");
        Click("btnSaveContacts");
        EXPECT_EQ(FileText(Root() + ".global"),
                  "Ann\tann@example.org\tfriend\nCid\tcid@example.org\t\nRob\tbob@example.org\t\n");
        ClickRow("treeContacts", "Ann");
        Click("btnEditContact");
        ClickRow("treeContacts", "Cid");
        Click("btnDeleteContact");
        EXPECT_EQ(FileText(Root() + ".global"), "Ann\tann@example.org\tfriend\nRob\tbob@example.org\t\n");
        EXPECT_FALSE(IsShown("txtContactName"));
        ClickRow("treeContacts", "Ann");
        Click("btnEditContact");
        Click("btnCloseAddressBook");
        OpenBook();
        EXPECT_EQ(Rows("treeContacts").size(), 2);
        EXPECT_EQ(WindowSize(), QSize(376, 178));
    });
}

TEST(AddressBook, OddContacts) {
    StartWith("\tnameless@example.org\tno name\nAnn\tann@example.org\tfriend\n\nhidden\th@example.org\t\n");
    Sitting([] {
        OpenBook();
        EXPECT_EQ(Rows("treeContacts"), (QStringList{"|nameless@example.org|no name", "Ann|ann@example.org|friend"}));
        ClickRow("treeContacts", "nameless");
        Click("btnEditContact");
        EXPECT_EQ(Text("txtContactName"), "nameless@example.org") << "an empty name moves the others up";
        EXPECT_EQ(Text("txtContactEmail"), "no name");
        QApplication::clipboard()->setText("a\tb\r\nc");
        Type("txtContactMisc", "");
        Press("txtContactMisc", Qt::Key_V, Qt::ControlModifier);
        EXPECT_EQ(Text("txtContactMisc"), "a b  c");
        Click("btnSaveContacts");
        EXPECT_EQ(FileText(Root() + ".global"),
                  "Ann\tann@example.org\tfriend\nnameless@example.org\tno name\ta b  c\n");
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
        ChooseBook("work");
        EXPECT_EQ(Rows("treeContacts"), QStringList("Will|will@example.org|"));

        Click("btnAddContact");
        Fill("Eve", "eve@example.org", "");
        for (char const *name : {"tmp", ".work", "a/b", ".."}) {
            NameBook(name);
            WhenAsked("Close");
            Click("btnSaveContacts");
            EXPECT_EQ(Boxes().last(), "Error|An address book cannot have this name.") << name;
            EXPECT_EQ(Text("txtContactName"), "Eve") << "nothing typed is lost";
        }
        NameBook("friends");
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
        ChooseBook("global");
        EXPECT_EQ(Rows("treeContacts").size(), 2);
    });
}

/// A window of the program's own with a text field, as a message being written has it.
struct Message {
    PtWidget_t *window, *field;
    Message() {
        ToolkitGuard const guard;
        window = PtCreateWidget(PtWindow, Pt_NO_PARENT, 0, nullptr);
        field = PtCreateWidget(PtText, window, 0, nullptr);
        PtRealizeWidget(window);
        OpenAddressBook(field);
    }
    std::string Recipients() const {
        ToolkitGuard const guard;
        return WidgetText(field);
    }
};

TEST(AddressBook, ADoubleClickPicksTheAddress) {
    StartWith(kTwo);
    Sitting([] {
        Message const message;
        ClickRow("treeContacts", "Ann");
        Press("treeContacts", Qt::Key_Return);
        EXPECT_EQ(message.Recipients(), "") << "neither one click nor a key picks";
        DoubleClickRow("treeContacts", "Ann");
        EXPECT_EQ(message.Recipients(), "ann@example.org");

        Message const other;
        DoubleClickRow("treeContacts", "Bob");
        EXPECT_EQ(other.Recipients(), "bob@example.org");
        EXPECT_EQ(message.Recipients(), "ann@example.org");
        {
            ToolkitGuard const guard;
            SetBlocked(other.field, true);
            ForgetAddressTarget(message.field); // which is not the one
        }
        DoubleClickRow("treeContacts", "Bob");
        EXPECT_EQ(other.Recipients(), "bob@example.org") << "a field that is blocked stays";
        {
            ToolkitGuard const guard;
            SetBlocked(other.field, false);
        }
        DoubleClickRow("treeContacts", "Ann");
        EXPECT_EQ(other.Recipients(), "bob@example.org, ann@example.org");
        {
            ToolkitGuard const guard;
            PtDestroyWidget(other.window);
        }
        Wait(20);
        DoubleClickRow("treeContacts", "Bob");
        EXPECT_EQ(message.Recipients(), "ann@example.org");
        OpenBook();
        Click("btnCloseAddressBook");
        ToolkitGuard const guard;
        PtDestroyWidget(message.window);
    });
}

TEST(AddressBook, TenThousandContactsOpen) {
    std::string book;
    for (int i = 0; i < 10000; i++)
        book += "Contact " + std::to_string(10000 + i) + "\tcontact@example.org\tnote\n";
    StartWith(book);
    Sitting([] {
        OpenBook();
        EXPECT_EQ(Rows("treeContacts").size(), 10000);
    });
}

} // namespace
