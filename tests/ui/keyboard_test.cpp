// The main journey without a mouse: every key goes to the widget that has the focus, as it would come from a
// keyboard.

#include "fixtures/dovecot_server.h"
#include "fixtures/postfix_server.h"
#include "fixtures/temp_home.h"
#include "ui/person.h"
#include "ui/sample.h"

#include <QApplication>
#include <QContextMenuEvent>
#include <QTest>
#include <QWidget>

#include <gtest/gtest.h>
#include <unistd.h>

namespace {

/// Where the window manager puts the focus when a window has gone.
void BackToMainWindow() {
    Find("base")->activateWindow();
    ASSERT_TRUE(WaitFor([] { return QApplication::activeWindow() == Find("base"); }));
}

void Key(Qt::Key key, Qt::KeyboardModifiers modifiers = {}) {
    QWidget *const focus = QApplication::activePopupWidget() ? QApplication::activePopupWidget()
                           : QApplication::focusWidget()     ? QApplication::focusWidget()
                                                             : QApplication::activeWindow();
    ASSERT_TRUE(focus) << "no window is active";
    QTest::keyClick(focus, key, modifiers);
    Wait(10);
}

void Keys(QString const &text) {
    ASSERT_TRUE(QApplication::focusWidget());
    QTest::keyClicks(QApplication::focusWidget(), text);
}

bool HasFocus(char const *name) {
    for (QWidget *widget = QApplication::focusWidget(); widget; widget = widget->parentWidget())
        if (widget->objectName() == QLatin1String(name))
            return true;
    return false;
}

/// Presses Tab until the widget has the focus.
void TabTo(char const *name) {
    for (int i = 0; i < 40 && !HasFocus(name); i++)
        Key(Qt::Key_Tab);
    ASSERT_TRUE(HasFocus(name)) << name << " is not reached with the Tab key";
}

class Keyboard : public testing::Test {
  protected:
    void SetUp() override {
        if (geteuid() != 0)
            GTEST_SKIP() << "the SMTP server switches users, which takes root";
        ClearTempHome();
        ASSERT_GT(pop.Port(), 0);
        for (char const *subject : {"alpha", "beta"}) {
            std::string mail = PlainMail(subject);
            mail.replace(mail.find("sender@"), 6, "bob");
            pop.Put("alice", mail);
        }
    }
    DovecotServer pop;
};

/// A profile, by its menu's letter and by Tab.
void MakeProfileByKeys(std::string const &pop, std::string const &smtp) {
    Key(Qt::Key_S, Qt::AltModifier);
    Key(Qt::Key_Return);
    ASSERT_TRUE(WaitFor([] { return IsShown("dlgAccounts"); }));
    TabTo("btnNewEmailAccount");
    Key(Qt::Key_Space);
    for (auto const &[field, text] : {std::pair<char const *, std::string>{"txtAccount_AccountName", "home"},
                                      {"txtAccount_POPServer", pop},
                                      {"txtAccount_SMTPServer", smtp},
                                      {"txtAccount_Username", "alice"},
                                      {"txtAccount_Password", "secret"},
                                      {"txtAccount_Fullname", "Alice"},
                                      {"txtAccount_Email", "alice@example.org"}}) {
        TabTo(field);
        Keys(QString::fromStdString(text));
    }
    TabTo("btnAccount_Save");
    Key(Qt::Key_Space);
    Key(Qt::Key_Escape);
    ASSERT_TRUE(WaitFor([] { return !IsShown("dlgAccounts"); })) << "Escape does not close the dialog";
    BackToMainWindow();
}

/// The Inbox and its first message.
void OpenInboxByKeys() {
    TabTo("treeProfiles");
    Key(Qt::Key_Home);
    Key(Qt::Key_Down);
    Key(Qt::Key_Return);
    ASSERT_TRUE(WaitFor([] { return Rows("treeMessageHeaders").size() == 2; }));
    WaitForChecks(); // which block the list
    TabTo("treeMessageHeaders");
    Key(Qt::Key_Home);
    Key(Qt::Key_Space);
}

void AnswerByKeys() {
    Key(Qt::Key_R, Qt::ControlModifier);
    ASSERT_TRUE(WaitFor([] { return IsShown("pic_btnSend"); }));
    TabTo("pic_multiMessage");
    Key(Qt::Key_Home, Qt::ControlModifier);
    Keys("Thank you.");
    Key(Qt::Key_Return, Qt::ControlModifier);
    ASSERT_TRUE(WaitFor([] { return !IsShown("pic_btnSend") && !IsShown("pic_btnCancel"); }));
    BackToMainWindow();
}

TEST_F(Keyboard, ProfileMadeMailReadAnsweredAndDeleted) {
    PostfixServer const smtp(pop.WorkDirectory() + "/mail");
    ASSERT_GT(smtp.Port(), 0);
    Sitting([&] {
        MakeProfileByKeys(pop.Address(), smtp.Address());
        OpenInboxByKeys();
        EXPECT_TRUE(
            WaitFor([] { return Text("lblStatus").startsWith("Messages can be shown from the next start on"); }));
    });
    Sitting([&] {
        OpenInboxByKeys();
        ASSERT_TRUE(PageShows("The text of alpha."));
        Key(Qt::Key_Down);
        ASSERT_TRUE(PageShows("The text of beta."));
        AnswerByKeys();
        EXPECT_TRUE(WaitFor([&] { return pop.Count("bob") == 1; }));

        TabTo("treeMessageHeaders");
        Key(Qt::Key_Delete);
        EXPECT_EQ(Subjects(), QStringList("alpha"));
        // What the window system makes of the Menu key.
        QContextMenuEvent menu(QContextMenuEvent::Keyboard, {20, 20},
                               QApplication::focusWidget()->mapToGlobal(QPoint(20, 20)));
        QCoreApplication::sendEvent(QApplication::focusWidget(), &menu);
        EXPECT_TRUE(WaitFor([] { return QApplication::activePopupWidget() != nullptr; }));
        Key(Qt::Key_Escape);
        Key(Qt::Key_U, Qt::ControlModifier);
        EXPECT_TRUE(WaitFor([] { return IsShown("dlgViewSource"); }));
        Key(Qt::Key_Escape);
        EXPECT_TRUE(WaitFor([] { return !IsShown("dlgViewSource"); }));
        BackToMainWindow();
        pop.Put("alice", PlainMail("gamma"));
        Key(Qt::Key_F5);
        EXPECT_TRUE(WaitFor([] { return Subjects() == (QStringList{"alpha", "gamma"}); }));
    });
}

} // namespace
