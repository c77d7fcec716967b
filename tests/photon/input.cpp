// Blocked widgets, hotkeys, menus.

#include "photon/fixture.h"

#include "core/state.h"
#include "fixtures/menu.h"

#include <QLineEdit>
#include <QMenu>
#include <QPushButton>

#include <algorithm>

namespace {

class Input : public WindowTest {
  protected:
    void Block(char const *name, bool blocked) {
        PtSetResource(W(name), Pt_ARG_FLAGS, blocked ? Pt_TRUE : Pt_FALSE, Pt_BLOCKED);
        Sync();
    }
    std::vector<Told> told_;
};

TEST_F(Input, BlockedWidgetsTakeNothingAndLookTheSame) {
    PtAddCallback(W("btnInPane"), Pt_CB_ACTIVATE, Note, &told_);
    auto *button = N<QPushButton>("btnInPane");
    auto *field = N<QLineEdit>("txtInPane");
    QImage const before = N<QWidget>("paneOne")->grab().toImage();
    Block("paneOne", true);
    EXPECT_EQ(N<QWidget>("paneOne")->grab().toImage(), before);
    EXPECT_TRUE(button->isEnabled());
    Click(button);
    Key(button, Qt::Key_Space);
    Type(field, "x");
    Click(field);
    EXPECT_FALSE(field->hasFocus());
    QInputMethodEvent commit;
    commit.setCommitString(QStringLiteral("y"));
    WithoutLock([&] { QApplication::sendEvent(field, &commit); });
    QShortcutEvent mnemonic(QKeySequence(QStringLiteral("Alt+I")), 0);
    WithoutLock([&] { QApplication::sendEvent(button, &mnemonic); });
    EXPECT_TRUE(told_.empty());
    EXPECT_EQ(TextOf(W("txtInPane")), "");
    // A child that comes later is blocked like the rest.
    PtWidget_t *late = PtCreateWidget(PtButton, W("paneOne"), 0, nullptr);
    PtAddCallback(late, Pt_CB_ACTIVATE, Note, &told_);
    PtRealizeWidget(late);
    Sync();
    Click(Native<QWidget>(late));
    EXPECT_TRUE(told_.empty());
    Block("paneOne", false);
    Click(button);
    Click(Native<QWidget>(late));
    Type(field, "x");
    EXPECT_EQ(told_.size(), 2u);
    EXPECT_EQ(TextOf(W("txtInPane")), "x");
}

TEST_F(Input, TabPassesBlockedWidgets) {
    Native<QWidget>(window_)->activateWindow();
    auto *button = N<QPushButton>("btnOne");
    button->setFocus();
    ProcessEventsFor(10);
    Block("tlgOne", true);
    Key(button, Qt::Key_Tab);
    EXPECT_TRUE(N<QLineEdit>("txtOne")->hasFocus());
    // And leads away from one that had the focus when it was blocked.
    Block("txtOne", true);
    Key(N<QLineEdit>("txtOne"), Qt::Key_Tab);
    EXPECT_FALSE(N<QLineEdit>("txtOne")->hasFocus());
}

TEST_F(Input, MnemonicsWorkWhileABlockedFieldHasTheFocus) {
    PtAddCallback(W("btnInPane"), Pt_CB_ACTIVATE, Note, &told_);
    PtAddCallback(W("mnuFile_Do"), Pt_CB_ACTIVATE, Note, &told_);
    Native<QWidget>(window_)->activateWindow();
    auto *field = N<QLineEdit>("txtOne");
    field->setFocus();
    ProcessEventsFor(20);
    ASSERT_TRUE(field->hasFocus());
    QString const before = field->text();
    Block("txtOne", true);
    Key(field, Qt::Key_I, Qt::AltModifier);
    EXPECT_TRUE(ProcessEventsUntil([this] { return told_.size() == 1; })) << "the button stays down for a moment";
    Key(field, Qt::Key_D, Qt::ControlModifier);
    EXPECT_EQ(told_.size(), 2u);
    Type(field, "x");
    EXPECT_EQ(field->text(), before);
    // A blocked button does not hear its own.
    Block("paneOne", true);
    Key(field, Qt::Key_I, Qt::AltModifier);
    ProcessEventsFor(200);
    EXPECT_EQ(told_.size(), 2u);
}

TEST_F(Input, BlockedMenuEntries) {
    PtAddCallback(W("mnuFile_Do"), Pt_CB_ACTIVATE, Note, &told_);
    QWidget *window = Native<QWidget>(window_);
    window->activateWindow();
    ProcessEventsFor(20);
    Block("mnuFile_Do", true);
    Key(window, Qt::Key_D, Qt::ControlModifier);
    auto *menu = N<QMenu>("mnuFile");
    WithoutLock([&] {
        menu->popup(QPoint(50, 50));
        QTest::qWait(10);
        ClickAction(menu, menu->actions().first());
    });
    EXPECT_TRUE(told_.empty());
    EXPECT_TRUE(menu->isVisible()); // the click went nowhere
    WithoutLock([&] { menu->hide(); });
    Block("mnuFile_Do", false);
    PtSetResource(W("mnuFile_Do"), Pt_ARG_FLAGS, Pt_TRUE, Pt_GHOST);
    Sync();
    EXPECT_FALSE(menu->actions().first()->isEnabled());
}

int Hot(PtWidget_t *, void *data, PtCallbackInfo_t *) { return ++*static_cast<int *>(data), Pt_CONTINUE; }

int DestroyAndGoOn(PtWidget_t *, void *data, PtCallbackInfo_t *) {
    PtDestroyWidget(static_cast<PtWidget_t *>(data));
    ProcessEventsFor(1);
    EXPECT_FALSE(PtCore().dead.empty()); // its memory is still there
    return Pt_CONTINUE;
}

TEST_F(Input, Hotkeys) {
    int deleted = 0, checked = 0;
    PtWidget_t *other = PtCreateWidget(PtWindow, window_, 0, nullptr); // with a hotkey of its own
    PtRealizeWidget(other);
    PtAddHotkeyHandler(other, 'j', 0, 0, &checked, Hot);
    Key(N<QPushButton>("btnOne"), Qt::Key_J);
    EXPECT_EQ(checked, 0);
    PtAddHotkeyHandler(W("treeOne"), Pk_Delete, 0, 0, &deleted, Hot);
    PtAddHotkeyHandler(window_, 'k', Pk_KM_Ctrl, 0, &checked, Hot);
    Key(N<QPushButton>("btnOne"), Qt::Key_Delete); // wherever in the window the focus is
    EXPECT_EQ(deleted, 1);
    Key(N<QLineEdit>("txtOne"), Qt::Key_Delete); // but a field has its own use for it
    EXPECT_EQ(deleted, 1);
    Key(N<QPushButton>("btnOne"), Qt::Key_K, Qt::ControlModifier);
    Key(N<QPushButton>("btnOne"), Qt::Key_K);
    EXPECT_EQ(checked, 1);
    PtSetResource(W("treeOne"), Pt_ARG_FLAGS, Pt_TRUE, Pt_BLOCKED);
    Key(N<QPushButton>("btnOne"), Qt::Key_Delete);
    EXPECT_EQ(deleted, 1);
    PtAddHotkeyHandler(window_, 'x', 0, 0, other, DestroyAndGoOn);
    Key(N<QPushButton>("btnOne"), Qt::Key_X);
}

} // namespace
