// All journeys of tests/journeys, and their steps that are written in C++: journeys --gtest_filter=FILE.*

#include "base/account.h"
#include "fixtures/temp_home.h"
#include "names/widgets.h"
#include "store/folder.h"
#include "ui/journey.h"
#include "ui/letter.h"
#include "ui/person.h"
#include "ui/sample.h"
#include "ui/take_seccomp.h"
#include "widgets/activity.h"
#include "widgets/open_profile.h"
#include "widgets/toolkit.h"

#include <QApplication>
#include <QComboBox>
#include <QContextMenuEvent>
#include <QLabel>
#include <QLineEdit>
#include <QPixmap>
#include <QTest>
#include <QTextBrowser>
#include <QTreeView>

#include <algorithm>
#include <array>
#include <filesystem>
#include <gtest/gtest.h>
#include <optional>
#include <set>
#include <string>
#include <sys/socket.h>
#include <unistd.h>

namespace {

/// A connection of the account, without a server.
class LentConnection {
  public:
    explicit LentConnection(ServerAccount &account) {
        EXPECT_EQ(socketpair(AF_UNIX, SOCK_STREAM, 0, ends_), 0);
        account.serverSocket = ends_[0];
    }
    ~LentConnection() { close(ends_[1]); }
    LentConnection(LentConnection const &) = delete;
    LentConnection &operator=(LentConnection const &) = delete;

    bool ClosedWithoutAWord() const {
        char byte = 0;
        return recv(ends_[1], &byte, 1, MSG_DONTWAIT) == 0;
    }

  private:
    int ends_[2] = {-1, -1};
};

constexpr std::array kOwn{"/.Corvanta/news/usenet", "/.Corvanta/.tmp", "/.config"};

QTreeView *List(char const *name) { return qobject_cast<QTreeView *>(Find(name)); }

QImage Star() { return qobject_cast<QLabel *>(Find("lblStar"))->pixmap().toImage(); }

bool IsConnected() {
    ToolkitGuard const guard;
    ServerAccount const *const account = currentProfile.Get();
    return account && account->serverSocket > 0;
}

void WalkThroughCompose() {
    for (char const *stop :
         {"pic_txtTextbox", "pic_txtTextbox#2", "pic_txtTextbox#3", "pic_multiMessage", "pic_btnSend"}) {
        EXPECT_EQ(QApplication::focusWidget(), Find(stop)) << stop;
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
    }
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_J, Qt::AltModifier);
    EXPECT_EQ(QApplication::focusWidget(), Find("pic_txtTextbox#3"));
}

void ResizeCompose() {
    QWidget *const window = LetterWindow();
    QWidget *const text = Find("pic_multiMessage"), *const list = Find("pic_treeAttachments");
    window->resize(800, 600);
    EXPECT_TRUE(WaitFor([&] { return text->geometry().right() == 800 - 8 - 1; }));
    EXPECT_EQ(list->geometry().bottom(), 600 - 45 - 8 - 1) << "of its pane";
    TakePicture("pic_btnSend", "compose-800x600.png");
    QRect const before = text->geometry();
    window->resize(450, 45);
    EXPECT_TRUE(WaitFor([&] { return text->visibleRegion().isEmpty(); }));
    for (char const *row : {"pic_btnCancel", "pic_prgProgress", "pic_btnSend"})
        EXPECT_TRUE(QRect(0, 0, 450, 45).contains(Find(row)->geometry())) << row;
    EXPECT_TRUE(Find("pic_txtTextbox")->visibleRegion().isEmpty());
    EXPECT_TRUE(list->visibleRegion().isEmpty());
    window->resize(800, 600);
    EXPECT_TRUE(WaitFor([&] { return text->geometry() == before; })) << "grown back";
}

void SecondLetterWithTheBook() {
    QWidget *const first = LetterWindow();
    Click("btnCompose");
    for (QWidget *window : QApplication::topLevelWidgets())
        if (window->isVisible() && window->windowTitle() == first->windowTitle() && window != first)
            QTest::mouseClick(window->findChild<QWidget *>("pic_btnAddressBook"), Qt::LeftButton);
    first->close();
    EXPECT_TRUE(WaitFor([=] { return LetterWindow() != first; }));
}

void OpenThreadWithItsArrow() {
    QTreeView *const list = List("treeMessageHeaders");
    EXPECT_EQ(list->model()->rowCount(), 6) << "answers hang below what they answer";
    QRect const subject = list->visualRect(list->model()->index(1, 1));
    QTest::mouseClick(list->viewport(), Qt::LeftButton, {}, subject.center() - QPoint(subject.width() / 2 + 8, 0));
    EXPECT_TRUE(list->isExpanded(list->model()->index(1, 0)));
    EXPECT_FALSE(list->currentIndex().isValid()) << "which selects nothing";
}

void ReadEveryRow() {
    for (QString const &row : Rows("treeMessageHeaders")) {
        ClickRow("treeMessageHeaders", row.section('|', 1, 1));
        EXPECT_TRUE(PageShows(row.section('|', 2, 2))) << row.toStdString() << "\n"
                                                       << Text("webEmailMessage").toStdString();
    }
}

void ClickBelowTheDialog() {
    QTreeView *const profiles = List("treeProfiles");
    QModelIndex const old = profiles->indexBelow(profiles->model()->index(0, 0));
    QTest::mouseClick(profiles->viewport(), Qt::LeftButton, {}, profiles->visualRect(old).center());
    Wait(10);
    EXPECT_STREQ(currentFolder, "Inbox");
}

void NameBookWithoutChoosing() {
    Find("winAddressBook")->setFocus();
    qobject_cast<QComboBox *>(Find("cmbAddressBook"))->lineEdit()->setText("work");
}

/// What the window system makes of the key.
void PressMenuKey() {
    QWidget *const focus = QApplication::focusWidget();
    QContextMenuEvent menu(QContextMenuEvent::Keyboard, {20, 20}, focus->mapToGlobal(QPoint(20, 20)));
    QCoreApplication::sendEvent(focus, &menu);
    EXPECT_TRUE(WaitFor([] { return QApplication::activePopupWidget() != nullptr; }));
}

/// Rows of a profile that was saved are not another's: a check takes the profile that comes first in the tree, the
/// rows are the last one's.
void SaveTheProfileOfTheRows() {
    QString const last = Rows("treeProfiles").first() == "home" ? "work" : "home";
    QTreeView *const tree = List("treeProfiles");
    QModelIndex const folder = tree->model()->index(2, 0, tree->model()->index(tree->model()->rowCount() - 1, 0));
    EXPECT_EQ(folder.data().toString(), "Saved");
    tree->scrollTo(folder);
    QTest::mouseClick(tree->viewport(), Qt::LeftButton, {}, tree->visualRect(folder).center());
    EXPECT_TRUE(WaitFor([=] { return Subjects() == QStringList(last); }));
    ClickRow("treeMessageHeaders", last);
    ChooseFromMenuBar("mnuSettings_Accounts");
    ClickRow("treeAccounts_Accounts", last);
    Click("btnEditEmailAccount");
    Click("btnAccount_Save");
    Click("btnCloseAccounts_Activated");
    ToolkitGuard const guard;
    PtGenTreeSelect(ABW_treeProfiles, PtGenTreeRootItem(ABW_treeProfiles));
}

void ExpectNoColours() {
    QImage const page = qobject_cast<QTextBrowser *>(Find("webEmailMessage"))->viewport()->grab().toImage();
    int count = 0;
    for (int y = 0; y < page.height(); y++)
        for (int x = 0; x < page.width(); x++)
            count += page.pixelColor(x, y).saturation() > 100;
    EXPECT_EQ(count, 0) << "a picture is shown";
}

/// Everything below the directory that holds the home, but for what the program writes on its own and the files of
/// the news profile.
std::set<std::string> FilesOutsideNews() {
    std::set<std::string> names;
    for (auto const &entry : std::filesystem::recursive_directory_iterator(TempHome() + "/..")) {
        std::string const path = entry.path();
        if (std::none_of(kOwn.begin(), kOwn.end(), [&](char const *own) { return path.find(own) != path.npos; }))
            names.insert(path);
    }
    return names;
}

void AddSteps() {
    static std::optional<LentConnection> lent;
    static QImage idle;
    Journey::AddStep("lend a connection", [] { lent.emplace(*CurrentNewsProfile()); });
    Journey::AddStep("expect it closed", [] { EXPECT_TRUE(lent->ClosedWithoutAWord()); });
    Journey::AddStep("expect no open profile", [] { EXPECT_FALSE(currentProfile); });
    Journey::AddStep("expect a connection", [] { EXPECT_TRUE(WaitFor(IsConnected)); });
    Journey::AddStep("expect no connection", [] { EXPECT_TRUE(WaitFor([] { return !IsConnected(); })); });
    Journey::AddStep("look at the star", [] {
        idle = Star();
        EXPECT_FALSE(idle.isNull());
    });
    Journey::AddStep("expect the star at rest", [] { EXPECT_TRUE(WaitFor([] { return Star() == idle; })); });
    for (bool const usable : {false, true})
        Journey::AddStep(usable ? "expect Stop to be usable" : "expect Stop to be greyed", [usable] {
            EXPECT_TRUE(WaitFor([usable] { return Find("btnStop")->isEnabled() == usable; }));
        });
    Journey::AddStep("turn the star", [] {
        {
            ToolkitGuard const guard;
            BeginActivity();
        }
        EXPECT_TRUE(WaitFor([] { return Star() != idle; }));
        ToolkitGuard const guard;
        EndActivity();
        EndActivity();
        EXPECT_EQ(ActivityCount, 0);
    });
    Journey::AddStep("store a long mail", [] {
        std::string const mail = "Subject: long\r\n\r\n" + std::string(120'000, '\n') + "end\n";
        EXPECT_GT(AppendMessage((Root() + "home/Inbox/").c_str(), mail), 0);
    });
    Journey::AddStep("walk through the compose window with Tab", WalkThroughCompose);
    Journey::AddStep("resize the compose window", ResizeCompose);
    Journey::AddStep("open a second letter with the book and close the first", SecondLetterWithTheBook);
    Journey::AddStep("open a thread with its arrow", OpenThreadWithItsArrow);
    Journey::AddStep("show every row's sender", ReadEveryRow);
    Journey::AddStep("click below the dialog", ClickBelowTheDialog);
    Journey::AddStep("name the book work without choosing it", NameBookWithoutChoosing);
    Journey::AddStep("take seccomp away", [] { EXPECT_TRUE(TakeSeccompAway()); });
    Journey::AddStep("expect no colours on the page", ExpectNoColours);
    static QSize size;
    Journey::AddStep("note the size of the main window", [] { size = Find("base")->size(); });
    Journey::AddStep("expect the size that was noted", [] { EXPECT_EQ(Find("base")->size(), size); });
    static std::set<std::string> outside;
    Journey::AddStep("note the files outside of the news profile", [] { outside = FilesOutsideNews(); });
    Journey::AddStep("expect no other files outside", [] { EXPECT_EQ(FilesOutsideNews(), outside); });
    Journey::AddStep("expect the refusal in the first box", [] {
        EXPECT_TRUE(Boxes()[0].startsWith("Error|481 <b>%s%n</b> ")) << Boxes()[0].toStdString();
    });
    Journey::AddStep("press the Menu key", PressMenuKey);
    Journey::AddStep("save the profile whose rows are listed", SaveTheProfileOfTheRows);
}

} // namespace

int main(int argc, char **argv) {
    EnterTempHome(argc, argv);
    testing::InitGoogleTest(&argc, argv);
    AddSteps();
    for (auto const &file : std::filesystem::directory_iterator(CORVANTA_JOURNEYS))
        RegisterJourneys(file.path().stem());
    int const result = RUN_ALL_TESTS();
    // A filter that no test has must not look like a test that passed.
    return LeaveTempHome(testing::UnitTest::GetInstance()->test_to_run_count() > 0 ? result : 1);
}
