// The person in a hurry with newsgroups, and writing.

#include "threads/hurry.h"
#include "threads/walk.h"

#include "ui/person.h"
#include "ui/sample.h"

#include <QApplication>
#include <QLineEdit>
#include <QMenu>
#include <QTest>

#include <filesystem>
#include <gtest/gtest.h>

namespace {

/// The entries of the menu that a click with the right button opens, one after another; nothing when a check blocks
/// the tree.
void ChooseFromMenuOf(QString const &row, QStringList const &entries) {
    int const number = static_cast<int>(Rows("treeProfiles").indexOf(row));
    if (number < 0 || !ClickOn("treeProfiles", number, Qt::RightButton))
        return;
    bool open = WaitFor([] { return QApplication::activePopupWidget() != nullptr; }, 100);
    for (QString const &entry : entries) {
        open = open && ClickEntry(entry);
        Wait(20);
    }
    while (QWidget *const menu = QApplication::activePopupWidget()) {
        menu->close();
        Wait(1);
    }
}

} // namespace

void Hurry::OneNewsThing() {
    int const what = Below(10);
    QStringList const rows = Rows("treeProfiles");
    if (what < 5) {
        auto const group = rows.indexOf(Below(2) ? "test.general" : "test.other");
        if (group >= 0)
            ClickOn("treeProfiles", static_cast<int>(group));
    } else if (what < 7) {
        PressCheck();
    } else if (what < 8) {
        OpenGroups();
    } else if (what < 9) {
        EditNewsAccounts();
    } else {
        ShakeNewsServer();
    }
}

void Hurry::OpenGroups() {
    ChooseFromMenuOf("usenet", {"News", "Un/Subscribe"});
    if (!IsShown("dlgNews"))
        return;
    if (Below(2))
        Click("btnGetNewsListing");
    else
        Click("btnShowNewsList");
    // Not the groups that are read: this one is subscribed to now and then.
    auto const junk = Rows("treeNews").indexOf("|junk");
    if (junk >= 0)
        ClickOn("treeNews", static_cast<int>(junk));
    CloseBy("btnCloseNews", "dlgNews");
}

void Hurry::EditNewsAccounts() {
    ChooseFromMenuBar("mnuSettings_NewsAccounts");
    if (!IsShown("dlgNewsAccounts"))
        return;
    if (Below(2)) {
        ClickOn("treeNewsAccounts_Accounts", 0);
        Click("btnEditNewsAccount");
        Click(Below(2) ? "btnSaveNewsAccount" : "btnCancelNewsAccounts");
    } else if (auto const spare = Rows("treeNewsAccounts_Accounts").indexOf("nspare"); spare >= 0) {
        ClickOn("treeNewsAccounts_Accounts", static_cast<int>(spare));
        Click("btnDeleteNewsAccount");
    } else {
        Click("btnNewNewsAccount");
        Type("txtNewsAccount_AccountName", "nspare");
        Type("txtNewsAccount_NEWSServer", QString::fromStdString(world_.news->Address()));
        Click("btnSaveNewsAccount");
    }
    CloseBy("btnCloseNewsAccounts", "dlgNewsAccounts");
}

/// For a moment nobody may read; who reads already is left alone.
void Hurry::ShakeNewsServer() {
    world_.news->Control({"readers", "n", "closed"});
    auto const group = Rows("treeProfiles").indexOf("test.other");
    if (group >= 0)
        ClickOn("treeProfiles", static_cast<int>(group));
    PressCheck();
    world_.news->Control({"readers", "y", "closed"});
}

void Hurry::CancelCompose() {
    if (IsShown("pic_btnCancel") || IsShown("pic_btnSend"))
        CloseBy("pic_btnCancel", "pic_btnCancel");
}

/// Writes something and sends it; often it is cancelled before it is out.
void Hurry::Compose() {
    CancelCompose();
    Click("btnCompose");
    if (!IsShown("pic_btnSend"))
        return;
    QWidget *const window = Find("pic_btnSend")->window();
    QList<QLineEdit *> const fields = window->findChildren<QLineEdit *>(QStringLiteral("pic_txtTextbox"));
    bool const mail = fields.size() > 2;
    if (fields.size() < 2 || (mail && !world_.smtp))
        return CancelCompose();
    fields[0]->clear();
    QTest::keyClicks(fields[0], mail ? "bob@example.org" : "test.other");
    QTest::keyClicks(fields.last(), QString::fromLatin1(kSentMark) + QString::number(++sent_));
    TypeMore("pic_multiMessage", "Some words. ");
    Click("pic_btnSend");
    Wait(Below(60));
    if (Below(2))
        CancelCompose();
}

void Hurry::MakeOrDeleteFolder() {
    if (Rows("treeProfiles").contains("extra"))
        ChooseFromMenuOf("extra", {"Delete Folder"});
    else
        ChooseFromMenuOf("home", {"Mail", "Add Folder"});
}
