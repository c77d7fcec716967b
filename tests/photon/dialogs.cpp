// Boxes that the caller waits for: from a callback, from a worker, by button, key, frame.

#include "photon/fixture.h"

#include "qt/loop/application.h"

#include <QDialog>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QTemporaryFile>
#include <QTimer>

#include <filesystem>
#include <pthread.h>
#include <thread>

namespace {

QDialog *Dialog(char const *name) {
    for (QWidget *top : QApplication::topLevelWidgets())
        if (top->isVisible() && top->objectName() == QLatin1String(name))
            return qobject_cast<QDialog *>(top);
    return nullptr;
}

/// Calls `act` with the dialog of a name once it is there.
void WhenOpen(char const *name, std::function<void(QDialog &)> act) {
    auto *timer = new QTimer(TheApplication());
    QObject::connect(timer, &QTimer::timeout, timer, [=] {
        if (QDialog *dialog = Dialog(name)) {
            timer->deleteLater();
            act(*dialog);
        }
    });
    timer->start(5);
}

void PressButton(QDialog &dialog, char const *name) {
    auto *button = dialog.findChild<QPushButton *>(QLatin1String(name));
    ASSERT_TRUE(button);
    QTest::mouseClick(button, Qt::LeftButton);
}

int Ask(int default_button = 1, int escape_button = 0) {
    char const *buttons[] = {"&Cancel", "&Delete it"};
    return PtAlert(nullptr, nullptr, "Warning!", nullptr, "Are <b>you</b>\nsure?", nullptr, 2, buttons, nullptr,
                   default_button, escape_button, Pt_MODAL);
}

class Dialogs : public WindowTest {};

TEST_F(Dialogs, AlertByButtonKeyAndFrame) {
    WhenOpen("PtAlert", [](QDialog &dialog) {
        auto *message = dialog.findChild<QLabel *>(QStringLiteral("PtAlert_message"));
        EXPECT_EQ(message->text(), QStringLiteral("Are <b>you</b>\nsure?"));
        EXPECT_EQ(message->textFormat(), Qt::PlainText);
        EXPECT_EQ(dialog.windowTitle(), QStringLiteral("Warning!"));
        QSize sign;
        for (QLabel const *label : dialog.findChildren<QLabel *>())
            sign = sign.expandedTo(label->pixmap().deviceIndependentSize().toSize());
        EXPECT_GE(std::min(sign.width(), sign.height()), 16) << "a box without a picture shows a sign";
        PressButton(dialog, "PtAlert_2");
    });
    EXPECT_EQ(Ask(), 2);
    WhenOpen("PtAlert", [](QDialog &dialog) { QTest::keyClick(&dialog, Qt::Key_D); }); // without Alt
    EXPECT_EQ(Ask(), 2);
    WhenOpen("PtAlert", [](QDialog &dialog) { QTest::keyClick(&dialog, Qt::Key_Return); });
    EXPECT_EQ(Ask(1), 1);
    WhenOpen("PtAlert", [](QDialog &dialog) { QTest::keyClick(&dialog, Qt::Key_Escape); });
    EXPECT_EQ(Ask(2, 1), 1);
    WhenOpen("PtAlert", [](QDialog &dialog) { dialog.close(); });
    EXPECT_EQ(Ask(1, 0), 1); // without an escape button it is the default
}

// What a server says may be of any length: the box stays on the screen, its button with it.
TEST_F(Dialogs, AlertWithALongMessageStaysOnTheScreen) {
    char const *buttons[] = {"&Close"};
    std::string lines;
    for (int i = 0; i < 500; i++)
        lines += "line\n";
    for (std::string const &message : {std::string(5000, 'w'), lines}) {
        WhenOpen("PtAlert", [](QDialog &dialog) {
            QRect const screen = dialog.screen()->availableGeometry();
            EXPECT_TRUE(screen.contains(dialog.geometry())) << dialog.width() << " x " << dialog.height();
            auto *button = dialog.findChild<QPushButton *>(QStringLiteral("PtAlert_1"));
            EXPECT_TRUE(dialog.rect().contains(button->geometry()));
            PressButton(dialog, "PtAlert_1");
        });
        EXPECT_EQ(PtAlert(window_, nullptr, "Error", nullptr, message.c_str(), nullptr, 1, buttons, nullptr, 1, 1, 0),
                  1);
    }
}

TEST_F(Dialogs, PromptTakesNoEmptyEntryAndKeepsWithinItsBuffer) {
    char const *buttons[] = {"&Ok", "&Cancel"};
    char text[8] = "old";
    auto const prompt = [&](int flags) {
        return PtPrompt(window_, nullptr, "Name", nullptr, "Folder:", nullptr, 2, buttons, nullptr, 1, 2, sizeof text,
                        text, nullptr, flags);
    };
    WhenOpen("PtPrompt", [](QDialog &dialog) {
        auto *entry = dialog.findChild<QLineEdit *>(QStringLiteral("PtPrompt_text"));
        EXPECT_EQ(entry->text(), QStringLiteral("old"));
        entry->clear();
        PressButton(dialog, "PtPrompt_1");
        EXPECT_TRUE(dialog.isVisible());
        entry->insert(QStringLiteral("abcd\u00e9\u00e9\u00e9"));
        QTest::keyClick(entry, Qt::Key_Return);
    });
    EXPECT_EQ(prompt(0), 1);
    EXPECT_STREQ(text, "abcd\xC3\xA9"); // whole characters only
    WhenOpen("PtPrompt", [](QDialog &dialog) { QTest::keyClick(&dialog, Qt::Key_Escape); });
    EXPECT_EQ(prompt(0), 2);
}

/// Once a box is open, has a worker go into the library and change a label, and presses the box's button then.
class Visitor {
  public:
    Visitor(PtWidget_t *label, std::function<QAbstractButton *()> button) {
        QObject::connect(&look_, &QTimer::timeout, &look_, [this, label, button] {
            QAbstractButton *const open = button();
            if (open && !worker_.joinable())
                worker_ = std::thread([this, label] {
                    PtEnter(0);
                    SetText(label, "from the worker");
                    PtFlush();
                    PtLeave(0);
                    entered_ = true;
                });
            else if (open && entered_)
                QTest::mouseClick(open, Qt::LeftButton);
        });
        look_.start(5);
    }
    ~Visitor() { worker_.join(); }

  private:
    QTimer look_;
    std::thread worker_;
    std::atomic<bool> entered_ = false;
};

int ChooseFile(PtWidget_t *, void *data, PtCallbackInfo_t *) {
    auto *info = static_cast<PtFileSelectionInfo_t *>(data);
    std::string const proposed = info->path;
    info->path[0] = 0;
    int const result = PtFileSelection(nullptr, nullptr, "Save", proposed.c_str(), nullptr, nullptr, nullptr, nullptr,
                                       info, Pt_FSR_NO_FCHECK | Pt_FSR_CONFIRM_EXISTING);
    EXPECT_TRUE(PtLockHeld());
    return result;
}

// The question whether to replace a file is Qt's, in a loop of Qt's own.
TEST_F(Dialogs, WorkersGetInWhileTheFileDialogAsks) {
    QTemporaryFile file;
    ASSERT_TRUE(file.open());
    PtFileSelectionInfo_t info{};
    snprintf(info.path, sizeof info.path, "%s", qPrintable(file.fileName()));
    PtAddCallback(W("btnOne"), Pt_CB_ACTIVATE, ChooseFile, &info);
    Visitor const visitor(W("lblOne"), [] {
        auto *box = qobject_cast<QMessageBox *>(QApplication::activeModalWidget());
        return box ? box->button(QMessageBox::Yes) : nullptr;
    });
    WhenOpen("PtFileSelection", [](QDialog &dialog) { QMetaObject::invokeMethod(&dialog, "accept"); });
    Click(N<QPushButton>("btnOne"));
    EXPECT_EQ(info.ret, Pt_FSDIALOG_BTN1);
    EXPECT_EQ(QString::fromLocal8Bit(info.path), file.fileName());
    ProcessEventsFor(20);
    EXPECT_TRUE(std::filesystem::is_empty(getenv("XDG_CONFIG_HOME"))) << "no settings of the file dialog";
    EXPECT_EQ(N<QLabel>("lblOne")->text(), QStringLiteral("from the worker"));
}

TEST_F(Dialogs, AlertsFromWorkersAreIndependent) {
    std::atomic<int> answers = 0;
    auto const ask = [&] {
        PtEnter(0);
        EXPECT_EQ(Ask(), 2);
        EXPECT_TRUE(PtLockHeld());
        PtLeave(0);
        answers++;
    };
    std::thread first(ask), second(ask);
    auto const boxes = [] {
        std::vector<QDialog *> open;
        for (QWidget *top : QApplication::topLevelWidgets())
            if (top->isVisible() && top->objectName() == QLatin1String("PtAlert"))
                open.push_back(qobject_cast<QDialog *>(top));
        return open;
    };
    ASSERT_TRUE(ProcessEventsUntil([&] { return boxes().size() == 2; }));
    pthread_cancel(first.native_handle()); // not before it has its answer
    for (int answered : {1, 2}) {
        WithoutLock([&] { PressButton(*boxes()[0], "PtAlert_2"); });
        EXPECT_TRUE(ProcessEventsUntil([&] { return answers == answered; })); // does not wait for the other
    }
    first.join();
    second.join();
}

} // namespace
