// Every window there is, as the desktop's scale and colours make it. scripts/screenshots.sh runs this on X11 and
// Wayland for a look at the pictures; what a program can see of them is checked here.

#include "fixtures/scripted_server.h"
#include "fixtures/temp_home.h"
#include "store/folder.h"
#include "ui/person.h"
#include "ui/sample.h"

#include <QAction>
#include <QApplication>
#include <QGuiApplication>
#include <QImage>
#include <QLabel>
#include <QMenu>
#include <QMenuBar>
#include <QPushButton>
#include <QTest>
#include <QTreeView>
#include <QWidget>
#include <QWindow>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <gtest/gtest.h>

namespace {

/// How far two colours are apart, as readers see it: 1 to 21 (WCAG 2, 1.4.3).
double Contrast(QColor const &one, QColor const &other) {
    auto const light = [](QColor const &color) {
        auto const part = [](double value) {
            return value <= 0.03928 ? value / 12.92 : std::pow((value + 0.055) / 1.055, 2.4);
        };
        return 0.2126 * part(color.redF()) + 0.7152 * part(color.greenF()) + 0.0722 * part(color.blueF());
    };
    double const a = light(one), b = light(other);
    return (std::max(a, b) + 0.05) / (std::min(a, b) + 0.05);
}

/// The colour behind a widget's text: what most of it has or, for the shaded ground of a button, what it has inside
/// of its frame.
QColor Ground(QWidget *widget) {
    QImage const image = widget->grab().toImage();
    if (qobject_cast<QPushButton *>(widget))
        return image.pixelColor(qRound(3 * image.devicePixelRatio()), image.height() / 2);
    QHash<QRgb, int> counts;
    for (int y = 0; y < image.height(); y += 2)
        for (int x = 0; x < image.width(); x += 2)
            counts[image.pixel(x, y)]++;
    auto const most = std::max_element(counts.cbegin(), counts.cend());
    return most == counts.cend() ? QColor() : QColor(most.key());
}

void ExpectReadable(QWidget *window) {
    for (QWidget *part : window->findChildren<QWidget *>()) {
        auto const *label = qobject_cast<QLabel *>(part);
        auto const *button = qobject_cast<QPushButton *>(part);
        if (!part->isVisible() || !(label || button) || (label && label->text().isEmpty()))
            continue;
        EXPECT_GE(Contrast(part->palette().color(part->foregroundRole()), Ground(part)), 4.5)
            << part->objectName().toStdString();
        if (button) {
            EXPECT_GE(part->width(), part->minimumSizeHint().width()) << part->objectName().toStdString();
        }
    }
}

/// What holds for every window, and its picture.
void Look(char const *part, char const *file) {
    QWidget *const window = Find(part)->window();
    EXPECT_FALSE(window->windowTitle().isEmpty()) << file;
    EXPECT_FALSE(window->windowIcon().pixmap(32).isNull()) << file;
    ExpectReadable(window);
    TakePicture(part, file);
}

class Windows : public testing::Test {
  protected:
    void SetUp() override {
        ClearTempHome();
        MakeProfile("127.0.0.1:1", true);
        MakeNewsProfile(news.Address(), {"test.general", "test.other"});
        for (char const *mail : {"01-welcome", "02-minutes", "03-re-minutes", "05-newsletter", "25-pictures"})
            ASSERT_GT(AppendMessage((Root() + "home/Saved/").c_str(), DemoMail(mail).c_str()), 0);
    }
    ScriptedServer news{{Send("200 ready\r\n"), Skip(), Send("211 1000 1 1000 test.general\r\n"), Skip(),
                         Send("211 follows\r\n1\r\n2\r\n.\r\n"), Stall()}};
};

void OpenPictures() {
    ClickRow("treeProfiles", "Saved");
    ASSERT_TRUE(WaitFor([] { return Rows("treeMessageHeaders").size() == 5; }));
    ClickRow("treeMessageHeaders", "Pictures");
    ASSERT_TRUE(WaitFor([] { return Text("webEmailMessage").contains("See you at the fountain"); }));
    Wait(500);
}

/// Without waiting for the window to be active: on a display without a keyboard none ever is.
void Escape(char const *part) { QTest::keyClick(Find(part), Qt::Key_Escape); }

void LookAtDialogs() {
    ChooseFromMenuBar("mnuSettings_Accounts");
    ClickRow("treeAccounts_Accounts", "home");
    Click("btnEditEmailAccount");
    Look("dlgAccounts", "mail-profiles.png");
    Click("btnCancelAccounts");
    Click("btnCloseAccounts_Activated");

    ChooseFromMenuBar("mnuSettings_NewsAccounts");
    Click("btnNewNewsAccount");
    Type("txtNewsAccount_AccountName", "usenet");
    Look("dlgNewsAccounts", "news-profiles.png");
    Click("btnCancelNewsAccounts");
    Click("btnCloseNewsAccounts");

    Click("btnAddressBook");
    Click("btnAddContact");
    Type("txtContactName", "Ann Archer");
    Look("winAddressBook", "address-book.png");
    Escape("txtContactName");
    EXPECT_TRUE(WaitFor([] { return !IsShown("winAddressBook"); })) << "Escape closes a dialog";

    ChooseFromMenuBar("mnuMessage_ViewSource");
    Look("dlgViewSource", "message-source.png");
    Escape("txtViewSource");
    EXPECT_TRUE(WaitFor([] { return !IsShown("dlgViewSource"); }));

    ChooseFromMenuBar("mnuHelp_About");
    Look("dlgAbout", "about.png");
    Escape("btnCloseAbout");
    EXPECT_TRUE(WaitFor([] { return !IsShown("dlgAbout"); }));
}

/// A group of a server that says it has 1,000 articles, and lists its groups no more.
void LookAtNews() {
    ClickRow("treeProfiles", "test.general");
    Look("dlgDownloadNewsPrompt", "news-prompt.png");
    Type("numNewsCount", "0");
    Click("btnDownloadNewsPrompt_OK");
    Click("btnCompose");
    Look("pic_btnSend", "news-compose.png");
    Click("pic_btnCancel");
    ASSERT_TRUE(WaitFor([] { return !IsShown("pic_btnSend"); }));
    ChooseFromRowMenu("treeProfiles", "usenet", {"News", "Un/Subscribe"});
    Look("dlgNews", "newsgroups.png");
    Escape("txtNewsFind");
    EXPECT_TRUE(WaitFor([] { return !IsShown("dlgNews"); }));
}

TEST_F(Windows, AreAtHomeOnTheDesktop) {
    Sitting(
        [] {
            EXPECT_EQ(QGuiApplication::desktopFileName(), "corvanta");
            ASSERT_TRUE(WaitFor([] { return Text("webEmailMessage").contains("Corvanta"); }));
            Wait(500);
            Look("base", "user-guide.png");
            OpenPictures();
            Look("base", "main.png");
            EXPECT_GE(Contrast(Qt::black, Ground(Find("webEmailMessage"))), 15) << "the page stays dark on light";
            LookAtDialogs();

            Click("btnReply");
            Look("pic_btnSend", "reply.png");
            WhenAsked("Discard it");
            Click("pic_btnCancel");
            EXPECT_TRUE(WaitFor([] { return !IsShown("pic_btnSend"); }));
            LookAtNews();
        },
        {"-w1100", "-h860"});
}

} // namespace
