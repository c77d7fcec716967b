// A walk through all windows: as the desktop's scale and colours make them, and as a screen reader gets them.
// scripts/screenshots.sh runs this on X11 and Wayland for a look at the pictures; what a program can see of them is
// checked here.

#include "fixtures/scripted_server.h"
#include "fixtures/temp_home.h"
#include "store/folder.h"
#include "ui/person.h"
#include "ui/sample.h"

#include <QAccessible>
#include <QGuiApplication>
#include <QHeaderView>
#include <QIcon>
#include <QImage>
#include <QLabel>
#include <QPushButton>
#include <QTest>
#include <QTreeView>
#include <QWidget>

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

using Roles = std::initializer_list<QAccessible::Role>;

bool OneOf(Roles roles, QAccessible::Role role) { return std::find(roles.begin(), roles.end(), role) != roles.end(); }

/// What a person acts on or reads; the rest is frames, layouts and windows.
constexpr Roles kControls{QAccessible::PushButton, QAccessible::CheckBox,    QAccessible::RadioButton,
                          QAccessible::ComboBox,   QAccessible::SpinBox,     QAccessible::EditableText,
                          QAccessible::Tree,       QAccessible::List,        QAccessible::Table,
                          QAccessible::MenuItem,   QAccessible::ProgressBar, QAccessible::Document,
                          QAccessible::ButtonMenu, QAccessible::PageTab};
/// Their parts need no names of their own; cells are read as the list's contents.
constexpr Roles kWholes{QAccessible::ComboBox, QAccessible::SpinBox, QAccessible::Tree,
                        QAccessible::List,     QAccessible::Table,   QAccessible::ScrollBar};

/// The number of controls that can be seen below `top`. Each has a name, and nothing else takes the focus.
int Controls(QAccessibleInterface *top) {
    if (!top || !top->isValid() || top->state().invisible)
        return 0;
    QAccessible::Role const role = top->role();
    auto const *const widget = qobject_cast<QWidget const *>(top->object());
    bool const takesFocus = widget && widget->focusPolicy() & Qt::TabFocus;
    // A page is a static text to read.
    bool const control = OneOf(kControls, role) || (takesFocus && role == QAccessible::StaticText);
    std::string const name = top->object() ? top->object()->objectName().toStdString() : "?";
    EXPECT_TRUE(!control || !top->text(QAccessible::Name).trimmed().isEmpty()) << name << " has no name";
    EXPECT_TRUE(control || !takesFocus) << name << " takes the focus as role " << role;
    int controls = control;
    for (int child = 0; !OneOf(kWholes, role) && child < top->childCount(); child++)
        controls += Controls(top->child(child));
    return controls;
}

/// What holds for every window, and its picture.
void Look(char const *part, char const *file, int controls) {
    SCOPED_TRACE(file);
    QWidget *const window = Find(part)->window();
    EXPECT_FALSE(window->windowTitle().isEmpty());
    EXPECT_FALSE(window->windowIcon().pixmap(32).isNull());
    ExpectReadable(window);
    EXPECT_GE(Controls(QAccessible::queryAccessibleInterface(window)), controls);
    TakePicture(part, file);
}

QTreeView *List(char const *name) { return qobject_cast<QTreeView *>(Find(name)); }

/// A picture of its own in front of each kind of row, room around the texts, and no column behind the edge.
void LookAtRows() {
    QTreeView const *const folders = List("treeProfiles");
    QAbstractItemModel const *const model = folders->model();
    QModelIndex const mail = model->index(0, 0);
    QList<QImage> pictures;
    for (QModelIndex const &row :
         {mail, model->index(0, 0, mail), model->index(1, 0, mail), model->index(2, 0, mail), model->index(1, 0)}) {
        pictures << row.data(Qt::DecorationRole).value<QIcon>().pixmap(16).toImage();
        EXPECT_FALSE(pictures.last().isNull()) << row.data().toString().toStdString();
        EXPECT_EQ(pictures.count(pictures.last()), 1) << row.data().toString().toStdString();
        EXPECT_GE(folders->visualRect(row).height(), folders->fontMetrics().height() + 6);
    }
    QTreeView const *const list = List("treeMessageHeaders");
    QHeaderView const *const heading = list->header();
    EXPECT_EQ(heading->length(), list->viewport()->width());
    for (int column = 1; column < heading->count(); column++)
        EXPECT_GE(heading->sectionSize(column), 80) << column;
    EXPECT_EQ(list->visualRect(list->model()->index(0, 1)).height(),
              list->visualRect(list->model()->index(3, 1)).height());
}

/// The lists as a screen reader reads them, cell by cell.
void ReadCells() {
    QAccessibleTableInterface *const table =
        QAccessible::queryAccessibleInterface(List("treeMessageHeaders"))->tableInterface();
    ASSERT_TRUE(table);
    EXPECT_EQ(table->rowCount(), 5);
    EXPECT_EQ(table->columnCount(), 4);
    EXPECT_EQ(table->columnDescription(1), "Subject");
    EXPECT_EQ(table->cellAt(4, 1)->text(QAccessible::Name).trimmed(), "Pictures from the ridge and the pier");
    EXPECT_TRUE(table->isRowSelected(4));
    QAccessibleTableInterface *const folders =
        QAccessible::queryAccessibleInterface(List("treeProfiles"))->tableInterface();
    ASSERT_TRUE(folders);
    EXPECT_EQ(folders->cellAt(1, 0)->text(QAccessible::Name).trimmed(), "Inbox");
}

class windows : public testing::Test {
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
    ASSERT_TRUE(PageShows("See you at the fountain"));
    Wait(500);
}

/// Without waiting for the window to be active: on a display without a keyboard none ever is.
void Escape(char const *part) { QTest::keyClick(Find(part), Qt::Key_Escape); }

void LookAtDialogs() {
    ChooseFromMenuBar("mnuSettings_Accounts");
    ClickRow("treeAccounts_Accounts", "home");
    Click("btnEditEmailAccount");
    Look("dlgAccounts", "mail-profiles.png", 15);
    Click("btnCancelAccounts");
    Click("btnCloseAccounts_Activated");

    ChooseFromMenuBar("mnuSettings_NewsAccounts");
    Click("btnNewNewsAccount");
    Type("txtNewsAccount_AccountName", "usenet");
    Look("dlgNewsAccounts", "news-profiles.png", 14);
    Click("btnCancelNewsAccounts");
    Click("btnCloseNewsAccounts");

    Click("btnAddressBook");
    Click("btnAddContact");
    Type("txtContactName", "Ann Archer");
    Look("winAddressBook", "address-book.png", 6);
    Escape("txtContactName");
    EXPECT_TRUE(WaitFor([] { return !IsShown("winAddressBook"); })) << "Escape closes a dialog";

    ChooseFromMenuBar("mnuMessage_ViewSource");
    Look("dlgViewSource", "message-source.png", 2);
    Escape("txtViewSource");
    EXPECT_TRUE(WaitFor([] { return !IsShown("dlgViewSource"); }));

    ChooseFromMenuBar("mnuHelp_About");
    EXPECT_EQ(Text("lblAboutName"), "Corvanta");
    Look("dlgAbout", "about.png", 1);
    Escape("btnCloseAbout");
    EXPECT_TRUE(WaitFor([] { return !IsShown("dlgAbout"); }));
}

/// A group of a server that says it has 1,000 articles, and lists its groups no more.
void LookAtNews() {
    ClickRow("treeProfiles", "test.general");
    Look("dlgDownloadNewsPrompt", "news-prompt.png", 3);
    Type("numNewsCount", "0");
    Click("btnDownloadNewsPrompt_OK");
    Click("btnCompose");
    Look("pic_btnSend", "news-compose.png", 7);
    Click("pic_btnCancel");
    ASSERT_TRUE(WaitFor([] { return !IsShown("pic_btnSend"); }));
    ChooseFromRowMenu("treeProfiles", "usenet", {"News", "Un/Subscribe"});
    Look("dlgNews", "newsgroups.png", 6);
    Escape("txtNewsFind");
    EXPECT_TRUE(WaitFor([] { return !IsShown("dlgNews"); }));
}

TEST_F(windows, AreAtHomeOnTheDesktop) {
    Sitting(
        [] {
            EXPECT_EQ(QGuiApplication::desktopFileName(), "corvanta");
            ASSERT_TRUE(PageShows("Corvanta"));
            Wait(500);
            Look("base", "user-guide.png", 14);
            OpenPictures();
            LookAtRows();
            ReadCells();
            Look("base", "main.png", 14);
            EXPECT_GE(Contrast(Qt::black, Ground(Find("webEmailMessage"))), 15) << "the page stays dark on light";
            LookAtDialogs();

            Click("btnReply");
            Look("pic_btnSend", "reply.png", 10);
            WhenAsked("Discard it");
            Click("pic_btnCancel");
            EXPECT_TRUE(WaitFor([] { return !IsShown("pic_btnSend"); }));
            LookAtNews();
        },
        {"-w1100", "-h860"});
}

} // namespace
