#include "threads/hurry.h"

#include "threads/walk.h"

#include "app/check_thread.h"
#include "names/widgets.h"
#include "news/header_download.h"
#include "profiles/profile_tree.h"
#include "ui/person.h"
#include "ui/sample.h"
#include "widgets/header_list.h"
#include "widgets/open_profile.h"
#include "widgets/tree_walk.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QLineEdit>
#include <QMenu>
#include <QTest>
#include <QTimer>

#include <algorithm>
#include <gtest/gtest.h>

namespace {

bool IsBlocked(PtWidget_t *const &widget) {
    return Locked([&] {
        unsigned long const *flags = nullptr;
        PtGetResource(widget, Pt_ARG_FLAGS, &flags, 0);
        return (*flags & Pt_BLOCKED) != 0;
    });
}

/// The subject of the row that a command would be about; empty for none.
std::string CurrentSubject() {
    return Locked([] {
        PtTreeItem_t const *const item = PtTreeGetCurrent(ABW_treeMessageHeaders);
        return QString::fromLatin1(item ? item->string : "").section('\t', 1, 1).trimmed().toStdString();
    });
}

} // namespace

Hurry::Hurry(World &world, unsigned seed) : world_(world), random_(seed), answers_(new QTimer(qApp)) {
    QObject::connect(answers_, &QTimer::timeout, answers_, [] {
        if (IsShown("PtAlert") && !AnswerNow("PtAlert", "Delete it") && !AnswerNow("PtAlert", "Discard it"))
            AnswerNow("PtAlert", "Close");
        if (IsShown("PtPrompt")) {
            TypeMore("PtPrompt_text", "extra");
            AnswerNow("PtPrompt", "OK");
        }
        // How many headers? All of them, every other time.
        static bool all = false;
        if (IsShown("dlgDownloadNewsPrompt")) {
            if ((all = !all))
                QTest::mouseClick(Find("tlgDownloadAll"), Qt::LeftButton);
            QTest::mouseClick(Find("btnDownloadNewsPrompt_OK"), Qt::LeftButton);
        }
    });
    answers_->start(20);
}

Hurry::~Hurry() { delete answers_; }

void Hurry::Work(int milliseconds) {
    QElapsedTimer clock;
    clock.start();
    int things = 0;
    for (; clock.elapsed() < milliseconds && !testing::Test::HasFailure(); things++) {
        OneThing();
        Wait(Below(4) == 0 ? Below(40) : 0);
    }
    printf("%d things done\n", things);
    // The port is free again only when the last of the old server has gone.
    serving_ = serving_ || WaitFor([this] { return world_.server.Start(); }, 20000);
    EXPECT_TRUE(serving_);
}

void Hurry::ComeToRest() {
    CancelCompose();
    EXPECT_EQ(PtEnter(0), 0);
    for (PtWidget_t *timer : {ABW_timerCheckEmail, ABW_timerNoop})
        PtSetResource(timer, Pt_ARG_TIMER_INITIAL, 0, 0);
    PtLeave(0);
    EXPECT_TRUE(WaitFor([] { return RunningChecks() == 0; }, 120000)) << "a check does not end";
    EXPECT_TRUE(WaitFor([] { return RunningDownloads() == 0; }, 120000)) << "a download does not end";
}

void Hurry::PressCheck() { QTest::mouseClick(Find("btnCheckEmail"), Qt::LeftButton); }

void Hurry::OneThing() {
    if (!serving_ && --pause_ <= 0)
        serving_ = world_.server.Start();
    int const what = Below(100);
    if (world_.news && Below(3) == 0)
        OneNewsThing();
    else if ((world_.news || world_.smtp) && Below(8) == 0)
        Compose();
    else if (what < 30)
        OpenSomeFolder();
    else if (what < 55)
        ReadSomeMessage();
    else if (what < 62)
        DeleteMessage();
    else if (what < 74)
        FileMessage();
    else if (what < 82)
        PressCheck();
    else if (what < 89)
        world_.Put(Below(3) ? "alice" : Below(2) ? "bob" : "carol");
    else if (what < 93)
        SetTimers();
    else if (what < 96)
        Below(2) ? EditAccounts() : MakeOrDeleteFolder();
    else
        ShakeServer();
}

/// Opens a folder, and looks whether what is stored in it is listed and what is listed is shown, unless a check
/// blocks the tree meanwhile.
void Hurry::OpenSomeFolder() {
    // A check lists nothing more when its profile has been saved under it.
    bool const quiet = RunningChecks() == 0;
    int const rows = RowCount("treeProfiles");
    if (rows == 0 || IsBlocked(ABW_treeProfiles) || !ClickOn("treeProfiles", Below(rows)) ||
        IsBlocked(ABW_treeProfiles))
        return;
    struct Open {
        std::string profile, folder;
        int rows = 0;
    };
    auto const look = [] {
        Open now{currentProfile ? currentProfile->name : "", currentFolder};
        for (PtTreeItem_t *item = PtTreeRootItem(ABW_treeMessageHeaders); item; item = BrotherOf(item))
            now.rows += RowOf(item)->origin == kStored;
        return now;
    };
    Open open = Locked(look);
    if (open.profile.empty())
        return;
    // The next check, or what is being sent, may just be storing a message whose row follows.
    int stored = 0;
    auto const listed = [&] {
        stored = World::Stored(open.profile, open.folder);
        open = Locked(look);
        return open.rows >= stored;
    };
    EXPECT_TRUE(!quiet || WaitFor(listed, 60000))
        << open.rows << " of " << stored << " messages of " << open.profile << "/" << open.folder << " are listed";
    EXPECT_TRUE(WaitFor([&] { return RowCount("treeMessageHeaders") >= Locked(look).rows; }, 60000))
        << RowCount("treeMessageHeaders") << " of " << Locked(look).rows << " rows are shown";
}

void Hurry::ReadSomeMessage() {
    int const rows = RowCount("treeMessageHeaders");
    if (rows == 0 || IsBlocked(ABW_treeMessageHeaders))
        return;
    if (!ClickOn("treeMessageHeaders", Below(rows)))
        return;
    chosen_.push_back(QString::fromStdString(CurrentSubject()));
    Wait(30);
    // Pages come when the page server has them, and what cannot be fetched leaves the page as it is: this may still
    // be an earlier one, but never one from before the last that was seen.
    QString const shown = Text("webEmailMessage");
    auto const wanted = std::find_if(chosen_.rbegin(), chosen_.rend(), [&](QString const &subject) {
        return !subject.isEmpty() && shown.contains("The text of " + subject + ".");
    });
    if (wanted != chosen_.rend())
        chosen_.erase(chosen_.begin(), wanted.base() - 1);
    else // a row whose header the server would not give, being about to go, has no subject; its message may come yet
        EXPECT_TRUE(chosen_.contains(QString()) || !shown.contains("The text of "))
            << chosen_.join(", ").toStdString() << " was wanted, shown is " << shown.left(400).toStdString();
}

void Hurry::DeleteMessage() {
    std::string const subject = CurrentSubject();
    if (subject.empty())
        return;
    world_.NoteDeletion(subject);
    if (Below(2))
        Click("btnDelete");
    else
        QTest::keyClick(Find("treeMessageHeaders"), Qt::Key_Delete);
}

void Hurry::FileMessage() {
    int const rows = RowCount("treeMessageHeaders");
    if (rows == 0 || !ClickOn("treeMessageHeaders", Below(rows), Qt::RightButton))
        return;
    bool const opened = WaitFor([] { return QApplication::activePopupWidget() != nullptr; }, 100);
    if (opened && ClickEntry(Below(2) ? "Copy To..." : "Move To...")) {
        Wait(20);
        ClickEntry(Below(3) ? "Saved" : "Outbox");
    }
    while (QWidget *const menu = QApplication::activePopupWidget()) {
        menu->close();
        Wait(1);
    }
}

void Hurry::EditAccounts() {
    ChooseFromMenuBar("mnuSettings_Accounts");
    if (!IsShown("dlgAccounts"))
        return;
    if (Below(2))
        ChangeProfile(Below(2) ? "home" : "work");
    else
        MakeOrDeleteSpare();
    CloseBy("btnCloseAccounts_Activated", "dlgAccounts");
}

void Hurry::ChangeProfile(char const *name) {
    ClickRow("treeAccounts_Accounts", name);
    Click("btnEditEmailAccount");
    Type("numCheckEmailInterval", Below(2) ? "5" : "20");
    if (Below(3) == 0)
        Click("tlgAccount_LeaveonServer");
    Click(Below(4) ? "btnAccount_Save" : "btnCancelAccounts");
}

void Hurry::MakeOrDeleteSpare() {
    if (Rows("treeAccounts_Accounts").contains("spare")) {
        ClickRow("treeAccounts_Accounts", "spare");
        Click("btnDeleteEmailAccount");
        EXPECT_TRUE(WaitFor([] { return !Rows("treeAccounts_Accounts").contains("spare"); }));
        return;
    }
    Click("btnNewEmailAccount");
    Type("txtAccount_AccountName", "spare");
    Type("txtAccount_POPServer", QString::fromStdString(world_.server.Address()));
    Type("txtAccount_SMTPServer", world_.smtp ? QString::fromStdString(world_.smtp->Address()) : "127.0.0.1:1");
    Type("txtAccount_Username", "carol");
    Type("txtAccount_Password", "secret");
    Click("btnAccount_Save");
    EXPECT_TRUE(WaitFor([] { return Rows("treeAccounts_Accounts").contains("spare"); }));
}

void Hurry::ShakeServer() {
    if (!serving_)
        return;
    if (Below(4)) {
        world_.server.Kick(Below(2) ? "alice" : "bob");
        return;
    }
    world_.server.Stop();
    serving_ = false;
    pause_ = 2 + Below(10);
}

/// A tick takes 5 s from the profiles' intervals: with these, a check comes every few hundred milliseconds.
void Hurry::SetTimers() const {
    EXPECT_EQ(PtEnter(0), 0);
    for (PtWidget_t *timer : {ABW_timerCheckEmail, ABW_timerNoop}) {
        PtSetResource(timer, Pt_ARG_TIMER_REPEAT, 50, 0);
        PtSetResource(timer, Pt_ARG_TIMER_INITIAL, 50, 0);
    }
    PtLeave(0);
}

// With newsgroups, and writing.

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
