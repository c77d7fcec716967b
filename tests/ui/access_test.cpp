// What a screen reader gets: every control of every window has a name and a role, and lists can be read by cell.

#include "fixtures/dovecot_server.h"
#include "fixtures/scripted_server.h"
#include "fixtures/temp_home.h"
#include "ui/person.h"
#include "ui/sample.h"

#include <QAccessible>
#include <QWidget>

#include <gtest/gtest.h>

namespace {

/// Roles that a person acts on or reads; the rest is frames, layouts and windows.
bool IsControl(QAccessible::Role role) {
    switch (role) {
    case QAccessible::PushButton:
    case QAccessible::CheckBox:
    case QAccessible::RadioButton:
    case QAccessible::EditableText:
    case QAccessible::ComboBox:
    case QAccessible::SpinBox:
    case QAccessible::ProgressBar:
    case QAccessible::Tree:
    case QAccessible::List:
    case QAccessible::Table:
    case QAccessible::MenuItem:
    case QAccessible::ButtonMenu:
    case QAccessible::Document:
    case QAccessible::PageTab:
        return true;
    default:
        return false;
    }
}

/// Parts that a named control is made of, and cells, which are read as the list's contents.
bool HasParts(QAccessible::Role role) {
    return role == QAccessible::ComboBox || role == QAccessible::SpinBox || role == QAccessible::Tree ||
           role == QAccessible::List || role == QAccessible::Table || role == QAccessible::ScrollBar;
}

QString NameOf(QObject *object) {
    return object ? QString::fromLatin1(object->metaObject()->className()) + QLatin1Char(' ') + object->objectName()
                  : QStringLiteral("?");
}

/// Walks what is visible below `top`; returns the number of controls and fails for each one without a name, and for
/// each widget that takes the focus without being one.
int Controls(QAccessibleInterface *top) {
    int controls = 0;
    std::vector<QAccessibleInterface *> left{top};
    while (!left.empty()) {
        QAccessibleInterface *const each = left.back();
        left.pop_back();
        if (!each || !each->isValid() || each->state().invisible)
            continue;
        auto const *const widget = qobject_cast<QWidget const *>(each->object());
        bool const takesFocus = widget && widget->focusPolicy() & Qt::TabFocus && widget->isEnabled();
        // A page is a static text to read.
        bool const control = IsControl(each->role()) || (takesFocus && each->role() == QAccessible::StaticText);
        if (control) {
            controls++;
            EXPECT_FALSE(each->text(QAccessible::Name).trimmed().isEmpty())
                << NameOf(each->object()).toStdString() << " has no name";
        } else if (takesFocus) {
            ADD_FAILURE() << NameOf(each->object()).toStdString() << " takes the focus as role " << each->role();
        }
        if (HasParts(each->role()))
            continue;
        for (int child = 0; child < each->childCount(); child++)
            left.push_back(each->child(child));
    }
    return controls;
}

/// The window that holds the widget, with at least so many controls.
void ExpectNamed(char const *widget, int atLeast) {
    SCOPED_TRACE(widget);
    QWidget *const window = Find(widget)->window();
    EXPECT_FALSE(window->windowTitle().isEmpty());
    EXPECT_GE(Controls(QAccessible::queryAccessibleInterface(window)), atLeast);
}

class Access : public testing::Test {
  protected:
    void SetUp() override {
        ClearTempHome();
        ASSERT_GT(server.Port(), 0);
        server.Put("alice", PlainMail("alpha"));
        server.Put("alice", PlainMail("beta"));
        MakeProfile(server.Address(), true);
    }
    DovecotServer server;
};

TEST_F(Access, EveryControlOfEveryWindowHasANameAndARole) {
    Sitting([] {
        OpenInbox();
        ClickRow("treeMessageHeaders", "alpha");
        ASSERT_TRUE(WaitFor([] { return Text("webEmailMessage").contains("The text of alpha."); }));
        ExpectNamed("base", 14);
        ChooseFromMenuBar("mnuSettings_Accounts");
        ExpectNamed("dlgAccounts", 5);
        Click("btnNewEmailAccount");
        ExpectNamed("dlgAccounts", 15);
        Click("btnCancelAccounts");
        Click("btnCloseAccounts_Activated");
        ChooseFromMenuBar("mnuSettings_NewsAccounts");
        ExpectNamed("dlgNewsAccounts", 5);
        Click("btnNewNewsAccount");
        ExpectNamed("dlgNewsAccounts", 14);
        Click("btnCancelNewsAccounts");
        Click("btnCloseNewsAccounts");
        Click("btnAddressBook");
        ExpectNamed("winAddressBook", 6);
        Click("btnCloseAddressBook");
        ChooseFromMenuBar("mnuMessage_ViewSource");
        ExpectNamed("dlgViewSource", 2);
        Click("btnCloseViewSource");
        ChooseFromMenuBar("mnuHelp_About");
        ExpectNamed("dlgAbout", 1);
        Click("btnCloseAbout");
        Click("btnCompose");
        ExpectNamed("pic_btnSend", 10);
        Click("pic_btnCancel");
    });
}

TEST_F(Access, EveryControlOfTheNewsWindowsToo) {
    ScriptedServer const news({Send("200 ready\r\n"), Skip(), Send("211 1000 1 1000 test.general\r\n"), Skip(),
                               Send("211 follows\r\n1\r\n2\r\n.\r\n"), Stall()});
    MakeNewsProfile(news.Address(), {"test.general"});
    Sitting([] {
        ClickRow("treeProfiles", "test.general");
        ExpectNamed("dlgDownloadNewsPrompt", 3);
        Type("numNewsCount", "0");
        Click("btnDownloadNewsPrompt_OK");
        Click("btnCompose");
        ExpectNamed("pic_btnSend", 7);
        Click("pic_btnCancel");
        ChooseFromRowMenu("treeProfiles", "usenet", {"News", "Un/Subscribe"});
        ExpectNamed("dlgNews", 6);
        Click("btnCloseNews");
    });
}

TEST_F(Access, RowsAndColumnsOfTheListsCanBeRead) {
    Sitting([] {
        OpenInbox();
        QAccessibleInterface *const list = QAccessible::queryAccessibleInterface(Find("treeMessageHeaders"));
        ASSERT_TRUE(list);
        QAccessibleTableInterface *const table = list->tableInterface();
        ASSERT_TRUE(table);
        EXPECT_EQ(table->rowCount(), 2);
        EXPECT_EQ(table->columnCount(), 4);
        EXPECT_EQ(table->columnDescription(1), "Subject");
        QAccessibleInterface *const cell = table->cellAt(1, 1);
        ASSERT_TRUE(cell);
        EXPECT_EQ(cell->text(QAccessible::Name).trimmed(), "beta");
        ClickRow("treeMessageHeaders", "beta");
        EXPECT_TRUE(table->isRowSelected(1));

        QAccessibleInterface *const profiles = QAccessible::queryAccessibleInterface(Find("treeProfiles"));
        ASSERT_TRUE(profiles && profiles->tableInterface());
        EXPECT_EQ(profiles->tableInterface()->cellAt(1, 0)->text(QAccessible::Name).trimmed(), "Inbox");
    });
}

} // namespace
