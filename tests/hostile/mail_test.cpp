// Mail written to hurt, opened in the real main window: each is shown in bounded time, and what it brings along is
// saved by the real command into the home directory and nowhere else.

#include "hostile/mail_makers.h"

#include "fixtures/temp_home.h"
#include "store/folder.h"
#include "ui/person.h"
#include "ui/sample.h"

#include <QElapsedTimer>
#include <QFileDialog>
#include <QLineEdit>
#include <QTest>
#include <QTimer>
#include <QTreeView>

#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>

namespace fs = std::filesystem;

namespace {

constexpr int kShownWithin = 20'000; ///< milliseconds, under a sanitizer on a busy machine
constexpr int kSavedOfEach = 12;     ///< of ten thousand attachments not all are saved

/// Stores the mails in the Inbox; the numbers are those of their order. The files keep what AppendMessage would end
/// at a zero byte.
void StoreAll(std::vector<HostileMail> const &mails) {
    std::string const inbox = Root() + "home/Inbox/";
    for (HostileMail const &mail : mails) {
        int32_t const number = AppendMessage(inbox.c_str(), mail.text.c_str());
        ASSERT_GT(number, 0);
        std::ofstream(inbox + std::to_string(number), std::ios::binary) << mail.text;
    }
}

void ClickRowNumber(char const *name, int row) {
    auto *const tree = qobject_cast<QTreeView *>(Find(name));
    QModelIndex const index = tree->model()->index(row, tree->model()->columnCount({}) > 1 ? 1 : 0);
    ASSERT_TRUE(index.isValid());
    tree->scrollTo(index);
    QCoreApplication::processEvents();
    QTest::mouseClick(tree->viewport(), Qt::LeftButton, {}, tree->visualRect(index).center());
}

/// Takes the name that the file dialog proposes, as soon as it is open.
void TakeProposedFile(QString &proposed) {
    auto *const timer = new QTimer(qApp);
    QObject::connect(timer, &QTimer::timeout, timer, [timer, &proposed] {
        for (QWidget *window : QApplication::topLevelWidgets())
            if (auto *const dialog = qobject_cast<QFileDialog *>(window); dialog && dialog->isVisible()) {
                auto *const name = dialog->findChild<QLineEdit *>(QStringLiteral("fileNameEdit"));
                proposed = dialog->directory().filePath(name->text());
                timer->deleteLater();
                name->setText(proposed);
                QTest::keyClick(name, Qt::Key_Return);
                return;
            }
    });
    timer->start(5);
}

/// Saves the attachment of a row, as the person does who just presses Return.
void SaveAttachment(int row) {
    ClickRowNumber("treeAttachments", row);
    auto *const tree = qobject_cast<QTreeView *>(Find("treeAttachments"));
    QPoint const place = tree->visualRect(tree->model()->index(row, 0)).center();
    QString proposed;
    TakeProposedFile(proposed);
    QTest::mousePress(tree->viewport(), Qt::RightButton, {}, place);
    QTest::mouseRelease(tree->viewport(), Qt::RightButton, {}, place);
    ASSERT_TRUE(WaitFor([] { return ClickEntry("Save Attachment"); }, 5000));
    EXPECT_TRUE(WaitFor([&] { return !proposed.isEmpty(); }, 5000));
    std::string const path = proposed.toStdString();
    EXPECT_EQ(fs::path(path).parent_path(), TempHome()) << path;
    // Names that no file system takes are told instead.
    EXPECT_TRUE(WaitFor([&] { return fs::exists(path) || Text("lblStatus").startsWith("Cannot write"); }, 2000))
        << path;
    if (fs::is_regular_file(path))
        fs::remove(path);
}

/// What lies in a directory.
std::vector<std::string> Names(std::string const &directory) {
    std::vector<std::string> names;
    for (fs::directory_entry const &entry : fs::directory_iterator(directory))
        names.push_back(entry.path().filename());
    std::sort(names.begin(), names.end());
    return names;
}

/// Opens the mail in the given row, looks at its page and saves what it brings along.
void OpenAndSave(HostileMail const &mail, int row) {
    std::string const what =
        "message " + std::to_string(row + 1) + " " + (mail.name.empty() ? mail.text.substr(0, 30) : mail.name);
    SCOPED_TRACE(what);
    QElapsedTimer time;
    time.start();
    std::string const page = Root() + ".tmp/msg.html";
    fs::remove(page);
    ClickRowNumber("treeMessageHeaders", row);
    EXPECT_TRUE(WaitFor([&] { return fs::exists(page); }, kShownWithin));
    EXPECT_TRUE(
        WaitFor([&] { return Text("webEmailMessage").contains(QString::fromStdString(mail.shown)); }, kShownWithin))
        << Text("webEmailMessage").left(500).toStdString();
    EXPECT_LT(time.elapsed(), kShownWithin);
    Wait(50); // the list is painted after the page is written
    int const attachments = static_cast<int>(Rows("treeAttachments").size());
    for (int i = 0; i < std::min(attachments, kSavedOfEach) && !testing::Test::HasFailure(); i++)
        SaveAttachment(i);
    if (attachments > kSavedOfEach)
        SaveAttachment(attachments - 1);
    if (time.elapsed() > 3000)
        printf("%s: %lld ms\n", what.c_str(), static_cast<long long>(time.elapsed()));
}

TEST(HostileMail, OpensAndSavesInTheHomeOnly) {
    ClearTempHome();
    std::vector<HostileMail> const mails = MakeHostileMail();
    MakeProfile("127.0.0.1:1", true, 100'000); // nobody listens there
    StoreAll(mails);
    fs::path const place = fs::path(TempHome()).parent_path();
    std::vector<std::string> const around = Names(place);
    Sitting([&] {
        OpenInbox();
        ASSERT_EQ(static_cast<size_t>(Rows("treeMessageHeaders").size()), mails.size());
        for (size_t i = 0; i < mails.size() && !testing::Test::HasFatalFailure(); i++)
            OpenAndSave(mails[i], static_cast<int>(i));
    });
    EXPECT_EQ(Names(place), around);
    fs::remove_all(TempHome() + "/.config"); // where the file dialog remembers how it was left
    EXPECT_EQ(Names(TempHome()), std::vector<std::string>{".Corvanta"});
    for (char const *escaped : {"/tmp/escape1", "/tmp/escape2", "/tmp/escape3", "/escape1", "/escape3"})
        EXPECT_FALSE(fs::exists(escaped)) << escaped;
}

} // namespace
