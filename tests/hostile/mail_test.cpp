// Mail written to hurt, opened in the real main window: each is shown in bounded time, and what it brings along is
// saved by the real command into the home directory and nowhere else.

#include "fixtures/dialogue.h"
#include "fixtures/temp_home.h"
#include "store/folder.h"
#include "ui/person.h"
#include "ui/sample.h"

#include <QFileDialog>
#include <QLineEdit>
#include <QTest>
#include <QTimer>

#include <filesystem>
#include <gtest/gtest.h>
#include <set>

namespace fs = std::filesystem;

namespace {

constexpr int kWithin = 20'000;  ///< milliseconds, under a sanitizer on a busy machine
constexpr int kSavedOfEach = 13; ///< of ten thousand attachments not all are saved

/// Takes the name that the file dialog proposes, as soon as it is open.
void TakeProposedFile(QString &proposed) {
    auto *const timer = new QTimer(qApp);
    QObject::connect(timer, &QTimer::timeout, timer, [timer, &proposed, looks = 0]() mutable {
        auto *const dialog = qobject_cast<QFileDialog *>(QApplication::activeModalWidget());
        if (!dialog && looks > 0)
            timer->deleteLater();
        // While the dialog still reads the directory it does not take the answer: once more after half a second.
        if (!dialog || looks++ % 100 != 0)
            return;
        auto *const name = dialog->findChild<QLineEdit *>(QStringLiteral("fileNameEdit"));
        if (proposed.isEmpty())
            proposed = dialog->directory().filePath(name->text());
        name->setText(proposed);
        QTest::keyClick(name, Qt::Key_Return);
    });
    timer->start(5);
}

/// Saves the attachment of a row, as the person does who just presses Return.
void SaveAttachment(int row) {
    ASSERT_TRUE(ClickOn("treeAttachments", row));
    QString proposed;
    TakeProposedFile(proposed);
    ASSERT_TRUE(ClickOn("treeAttachments", row, Qt::RightButton));
    ASSERT_TRUE(WaitFor([] { return ClickEntry("Save Attachment"); }, kWithin));
    ASSERT_TRUE(WaitFor([&] { return !proposed.isEmpty() && !QApplication::activeModalWidget(); }, kWithin));
    std::string const path = proposed.toStdString();
    EXPECT_EQ(fs::path(path).parent_path(), TempHome()) << path;
    // Names that no file system takes are told instead.
    EXPECT_TRUE(WaitFor([&] { return fs::exists(path) || Text("lblStatus").startsWith("Cannot write"); }, kWithin))
        << path;
    if (fs::is_regular_file(path))
        fs::remove(path);
}

/// What lies in a directory.
std::set<std::string> Names(std::string const &directory) {
    std::set<std::string> names;
    for (fs::directory_entry const &entry : fs::directory_iterator(directory))
        names.insert(entry.path().filename());
    return names;
}

/// Opens the mail in the given row, looks at its page and saves what it brings along.
void OpenAndSave(Dialogue const &mail, int row) {
    SCOPED_TRACE(mail.name);
    int const attachments = std::stoi(mail["attachments"]);
    std::string const page = Root() + ".tmp/msg.html";
    fs::remove(page);
    ASSERT_TRUE(ClickOn("treeMessageHeaders", row));
    EXPECT_TRUE(WaitFor([&] { return fs::exists(page); }, kWithin));
    QString const shown = QString::fromStdString(mail["shown"]);
    EXPECT_TRUE(WaitFor([&] { return Text("webEmailMessage").contains(shown); }, kWithin))
        << Text("webEmailMessage").left(500).toStdString();
    EXPECT_TRUE(WaitFor([&] { return Rows("treeAttachments").size() == attachments; }, kWithin))
        << Rows("treeAttachments").size();
    for (int i = 0; i < std::min(attachments, kSavedOfEach) && !testing::Test::HasFailure(); i++)
        SaveAttachment(i);
    if (attachments > kSavedOfEach)
        SaveAttachment(attachments - 1);
}

TEST(hostile_mail, OpensAndSavesInTheHomeOnly) {
    ClearTempHome();
    std::vector<Dialogue> const mails = ReadTable("hostile_mail");
    MakeProfile("127.0.0.1:1", true, 100'000); // nobody listens there
    for (Dialogue const &mail : mails)
        ASSERT_GT(AppendMessage((Root() + "home/Inbox/").c_str(), mail["text"]), 0);
    fs::path const place = fs::path(TempHome()).parent_path();
    std::set<std::string> const around = Names(place);
    Sitting([&] {
        OpenInbox();
        ASSERT_EQ(static_cast<size_t>(Rows("treeMessageHeaders").size()), mails.size());
        for (size_t i = 0; i < mails.size() && !testing::Test::HasFatalFailure(); i++)
            OpenAndSave(mails[i], static_cast<int>(i));
    });
    EXPECT_EQ(Names(place), around);
    fs::remove_all(TempHome() + "/.config"); // where the file dialog remembers how it was left
    EXPECT_EQ(Names(TempHome()), std::set<std::string>{".Corvanta"});
    for (char const *escaped : {"/tmp/escape1", "/tmp/escape2", "/tmp/escape3", "/escape1", "/escape3"})
        EXPECT_FALSE(fs::exists(escaped)) << escaped;
}

} // namespace
