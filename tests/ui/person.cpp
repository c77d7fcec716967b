#include "ui/person.h"

#include "qt/loop/testing.h"

#include "app/start.h"
#include "fixtures/menu.h"
#include "names/widgets.h"
#include "ui/links.h"
#include "widgets/toolkit.h"

#include <QAbstractButton>
#include <QAction>
#include <QApplication>
#include <QDialog>
#include <QFileDialog>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QMenuBar>
#include <QPrintDialog>
#include <QTest>
#include <QTimer>
#include <QTreeView>

#include <cstring>
#include <fstream>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

QStringList boxes;
QString proposed;

/// "NAME#2" is the second one of the name that is shown.
QWidget *Shown(char const *wanted) {
    QString const text = QString::fromUtf8(wanted);
    QString const name = text.section('#', 0, 0);
    int left = text.contains('#') ? text.section('#', 1).toInt() : 1;
    for (QWidget *window : QApplication::topLevelWidgets()) {
        if (!window->isVisible())
            continue;
        if (window->objectName() == name)
            return window;
        for (QWidget *widget : window->findChildren<QWidget *>(name))
            if (widget->isVisible() && --left == 0)
                return widget;
    }
    return nullptr;
}

/// Does `answer` as soon as it can be done, from a timer: the box it answers runs a loop of its own.
void Soon(std::function<bool()> answer) {
    auto *const timer = new QTimer(qApp);
    auto const began = std::make_shared<int>(0);
    QObject::connect(timer, &QTimer::timeout, timer, [=] {
        if (answer() || ++*began > 500)
            timer->deleteLater();
    });
    timer->start(20);
}

QString Plain(QString text) { return text.remove(QLatin1Char('&')); }

/// The button of a box by its label; null when it has none such.
QAbstractButton *ButtonOf(QWidget *box, QString const &label) {
    for (QAbstractButton *button : box->findChildren<QAbstractButton *>())
        if (Plain(button->text()) == label)
            return button;
    return nullptr;
}

bool AnswerBox(char const *name, QString const &button, std::function<void(QWidget *)> const &fill = {}) {
    QWidget *const box = Shown(name);
    if (!box)
        return false;
    auto *const message = box->findChild<QLabel *>(QLatin1String(name) + QLatin1String("_message"));
    boxes << box->windowTitle() + QLatin1Char('|') + (message ? message->text() : QString());
    TakePicture(name, (std::string("box-") + std::to_string(boxes.size()) + ".png").c_str());
    if (fill)
        fill(box);
    QAbstractButton *const wanted = ButtonOf(box, button);
    EXPECT_TRUE(wanted) << "no button " << button.toStdString();
    if (wanted)
        QTest::mouseClick(wanted, Qt::LeftButton);
    return true;
}

/// All rows below an index, depth first. Threads grow while a worker adds answers: the walk is under the library's
/// lock.
void Collect(QAbstractItemModel const &model, QModelIndex const &parent, QList<QModelIndex> &rows) {
    for (int row = 0; row < model.rowCount(parent); row++) {
        QModelIndex const index = model.index(row, 0, parent);
        rows << index;
        Collect(model, index, rows);
    }
}

QString RowText(QModelIndex const &index) {
    QStringList columns;
    for (int column = 0; column < index.model()->columnCount(index.parent()); column++)
        columns << index.sibling(index.row(), column).data().toString().trimmed();
    return columns.join(QLatin1Char('|'));
}

QTreeView *Tree(char const *name) {
    auto *const tree = qobject_cast<QTreeView *>(Find(name));
    EXPECT_TRUE(tree) << name << " is no list";
    return tree;
}

/// The widget behind a visible one; null for those of compose windows, which share their names.
PtWidget_t *Named(char const *name) {
    for (int i = 1; i < ABN_count; i++)
        if (AbWidgets[i] && strcmp(AbNames[i], name) == 0)
            return AbWidgets[i];
    return nullptr;
}

/// Waits until the program lets a list be used: a check blocks the lists while it runs.
void WaitUntilUsable(char const *name) {
    WaitFor([name] {
        ToolkitGuard const guard;
        PtWidget_t const *const widget = Named(name);
        return !widget || !(PtWidgetFlags(widget) & Pt_BLOCKED);
    });
}

/// All rows of a list. On a busy machine what has changed is shown a moment later, and until then rows are blank.
QList<QModelIndex> AllRows(char const *name) {
    QList<QModelIndex> rows;
    WaitFor(
        [&] {
            rows.clear();
            QTreeView const *const tree = Tree(name);
            ToolkitGuard const guard;
            Collect(*tree->model(), {}, rows);
            PtWidget_t *const widget = Named(name);
            if (!widget)
                return true;
            bool const blank = !rows.isEmpty() && RowText(rows[0]).remove(QLatin1Char('|')).isEmpty();
            return static_cast<size_t>(rows.size()) == widget->tree->item_count &&
                   (!blank || !*PtTreeRootItem(widget)->string);
        },
        2000);
    return rows;
}

/// A list and the middle of its row that contains `text`, scrolled into view; no list when there is none.
struct RowPlace {
    QWidget *list = nullptr;
    QPoint middle;

    RowPlace(char const *name, QString const &text) {
        WaitUntilUsable(name);
        QTreeView *const tree = Tree(name);
        for (QModelIndex const &index : AllRows(name))
            if (RowText(index).contains(text)) {
                tree->scrollTo(index);
                QCoreApplication::processEvents();
                int const column = tree->model()->columnCount({}) > 1 ? 1 : 0;
                middle = tree->visualRect(index.sibling(index.row(), column)).center();
                list = tree->viewport();
                return;
            }
        ADD_FAILURE() << "no row with '" << text.toStdString() << "' in " << name << ": "
                      << Rows(name).join(QLatin1Char('\n')).toStdString();
    }
};

constexpr int kLongestBoxSeconds = 30;

[[noreturn]] void EndNow(char const *why) {
    fprintf(stderr, "%s\n", why);
    fflush(nullptr);
    _exit(1);
}

/// A box that nobody answers would keep its caller until the test's end of time.
void WatchBoxes() {
    auto *const timer = new QTimer(qApp);
    auto const seconds = std::make_shared<int>(0);
    auto const answered = std::make_shared<qsizetype>(0);
    QObject::connect(timer, &QTimer::timeout, timer, [=] {
        QWidget const *const box = QApplication::activeModalWidget();
        bool const open = box && box->objectName().startsWith(QLatin1String("Pt"));
        bool const same = std::exchange(*answered, boxes.size()) == boxes.size() && open;
        *seconds = same ? *seconds + 1 : 0;
        if (*seconds > kLongestBoxSeconds)
            EndNow(("a box is open that was not expected: " + box->objectName().toStdString() + " " +
                    box->windowTitle().toStdString())
                       .c_str());
    });
    timer->start(1000);
}

/// Runs in the child: the program, the work, the end. Returns the child's exit code.
int Run(std::function<void()> const &work, QStringList const &options) {
    QList<QByteArray> words{"Corvanta"};
    for (QString const &option : options)
        words << option.toLocal8Bit();
    std::vector<char *> arguments;
    for (QByteArray &word : words)
        arguments.push_back(word.data());
    arguments.push_back(nullptr);
    if (StartCorvanta(static_cast<int>(words.size()), arguments.data(), AbContext) != 0)
        return 2;
    WithoutLock([&] {
        EXPECT_TRUE(WaitFor([] { return IsShown("base"); }));
        WatchBoxes();
        work();
        // Work that broke off has left windows open, which would ask before they close.
        if (testing::Test::HasFailure())
            EndNow("the sitting ends here");
        if (QWidget *const base = Shown("base"))
            QTimer::singleShot(0, base, [base] { base->close(); });
    });
    PtMainLoop();
    return testing::Test::HasFailure() ? 1 : 0;
}

void RunInChild(std::function<int()> const &run, void (*end)(int)) {
    fflush(nullptr);
    // A server's thread that holds the allocator's lock at the fork would leave it locked in the child for ever: let
    // those that have just been started come to rest.
    usleep(100'000);
    pid_t const child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        setenv("QT_QPA_PLATFORM", "offscreen", 0);
        int const code = run();
        fflush(nullptr);
        end(code);
    }
    int status = -1;
    while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    EXPECT_TRUE(WIFEXITED(status)) << "ended by signal " << (WIFSIGNALED(status) ? WTERMSIG(status) : 0);
    EXPECT_EQ(WIFEXITED(status) ? WEXITSTATUS(status) : 0, 0) << "see the failures above";
}

} // namespace

void Sitting(std::function<void()> const &work, QStringList const &options) {
    RunInChild([&] { return Run(work, options); }, exit);
}

void SittingToTheEnd(std::function<void()> const &work) {
    RunInChild([&] { return Run(work, {}); }, PtExit);
}

bool WaitFor(std::function<bool()> const &ready, int milliseconds) { return QTest::qWaitFor(ready, milliseconds); }

void Wait(int milliseconds) {
    QTest::qWait(milliseconds);
    // On a busy machine the time may be over before the views were told of the last change.
    QCoreApplication::sendPostedEvents();
}

bool IsShown(char const *name) { return Shown(name); }

QWidget *Find(char const *name) {
    EXPECT_TRUE(WaitFor([&] { return IsShown(name); }, 5000)) << name << " is not shown";
    QWidget *const widget = Shown(name);
    if (!widget) {
        // Without the widget nothing that follows makes sense.
        EndNow((std::string(name) + " is missing").c_str());
    }
    return widget;
}

void Click(char const *name) {
    QTest::mouseClick(Find(name), Qt::LeftButton);
    Wait(10);
}

void Type(char const *name, QString const &text) {
    QWidget *const field = Find(name);
    QTest::mouseClick(field, Qt::LeftButton);
    QTest::keyClick(field, Qt::Key_A, Qt::ControlModifier);
    QTest::keyClick(field, Qt::Key_Delete);
    QTest::keyClicks(field, text);
}

void TypeMore(char const *name, QString const &text) { QTest::keyClicks(Find(name), text); }

void Press(char const *name, Qt::Key key, Qt::KeyboardModifiers modifiers) {
    QWidget *const widget = Find(name);
    // Without a window manager nothing gives the activation back to the window below a menu that closed.
    widget->window()->activateWindow();
    EXPECT_TRUE(WaitFor([=] { return widget->window()->isActiveWindow(); }));
    QTest::keyClick(widget, key, modifiers);
    Wait(10);
}

QString Text(char const *name) {
    QWidget *const widget = Find(name);
    for (char const *property : {"plainText", "currentText", "text"})
        if (QVariant const text = widget->property(property); text.isValid())
            return text.toString();
    ADD_FAILURE() << name << " has no text";
    return {};
}

bool PageShows(QString const &text) {
    return WaitFor([&] { return Text("webEmailMessage").contains(text); });
}

void ChooseFromMenuBar(char const *entry) {
    auto *const bar = Find("base")->findChild<QMenuBar *>();
    ASSERT_TRUE(bar);
    for (QAction *top : bar->actions())
        for (QAction *action : top->menu()->actions())
            if (action->objectName() == QLatin1String(entry)) {
                QTest::mouseClick(bar, Qt::LeftButton, {}, bar->actionGeometry(top).center());
                ASSERT_TRUE(WaitFor([&] { return top->menu()->isVisible(); }));
                ClickAction(top->menu(), action);
                Wait(10);
                return;
            }
    ADD_FAILURE() << "no entry " << entry;
}

bool ClickEntry(QString const &label) {
    for (QWidget *window : QApplication::topLevelWidgets()) {
        auto *const menu = qobject_cast<QMenu *>(window);
        if (!menu || !menu->isVisible())
            continue;
        for (QAction *action : menu->actions())
            if (Plain(action->text()) == label) {
                ClickAction(menu, action);
                return true;
            }
    }
    return false;
}

int RowCount(char const *name) {
    QTreeView const *const tree = Tree(name);
    QList<QModelIndex> rows;
    ToolkitGuard const guard;
    Collect(*tree->model(), {}, rows);
    return static_cast<int>(rows.size());
}

bool ClickOn(char const *name, int number, Qt::MouseButton button) {
    QTreeView *const tree = Tree(name);
    QRect place;
    {
        ToolkitGuard const guard;
        QList<QModelIndex> rows;
        Collect(*tree->model(), {}, rows);
        if (number >= rows.size())
            return false;
        tree->scrollTo(rows[number]);
        place = tree->visualRect(rows[number].siblingAtColumn(tree->model()->columnCount({}) > 1 ? 1 : 0));
    }
    if (place.isEmpty())
        return false;
    QTest::mousePress(tree->viewport(), button, {}, place.center());
    QTest::mouseRelease(tree->viewport(), button, {}, place.center());
    return true;
}

QStringList Rows(char const *tree) {
    QStringList texts;
    for (QModelIndex const &index : AllRows(tree))
        texts << RowText(index);
    return texts;
}

void ClickRow(char const *name, QString const &text) {
    if (RowPlace const row(name, text); row.list)
        QTest::mouseClick(row.list, Qt::LeftButton, {}, row.middle);
    Wait(10);
}

void DoubleClickRow(char const *name, QString const &text) {
    RowPlace const row(name, text);
    if (!row.list)
        return;
    QTest::mouseClick(row.list, Qt::LeftButton, {}, row.middle);
    QTest::mouseDClick(row.list, Qt::LeftButton, {}, row.middle);
    QTest::mouseRelease(row.list, Qt::LeftButton, {}, row.middle); // which mouseDClick leaves out
    Wait(10);
}

void ChooseFromRowMenu(char const *name, QString const &text, QStringList const &entries) {
    RowPlace const row(name, text);
    if (!row.list)
        return;
    // A right press opens the menu; the menu itself sees the release.
    QTest::mousePress(row.list, Qt::RightButton, {}, row.middle);
    QTest::mouseRelease(row.list, Qt::RightButton, {}, row.middle);
    for (QString const &entry : entries) {
        ASSERT_TRUE(WaitFor([&] { return ClickEntry(entry); }, 3000)) << "no menu entry " << entry.toStdString();
        Wait(20);
    }
}

void WhenAsked(QString const &button) {
    Soon([=] { return AnswerBox("PtAlert", button); });
}

void WhenAskedForText(QString const &text, QString const &button) {
    Soon([=] {
        return AnswerBox("PtPrompt", button, [&](QWidget *box) {
            QTest::keyClicks(box->findChild<QLineEdit *>(QStringLiteral("PtPrompt_text")), text);
        });
    });
}

void WhenAskedForFile(QString const &path) {
    auto const looks = std::make_shared<int>(0);
    Soon([=] {
        auto *const dialog = qobject_cast<QFileDialog *>(Shown("PtFileSelection"));
        if (!dialog)
            return *looks > 0;
        // While the dialog still reads the directory it does not take the answer: once more after half a second.
        if ((*looks)++ % 25 != 0)
            return false;
        auto *const name = dialog->findChild<QLineEdit *>(QStringLiteral("fileNameEdit"));
        if (*looks == 1) {
            boxes << dialog->windowTitle() + QLatin1Char('|');
            proposed = dialog->directory().filePath(name->text());
            TakePicture("PtFileSelection", "file-selection.png");
        }
        // The list of completions that drops down while one types would take the Return for itself.
        name->setCompleter(nullptr);
        name->clear();
        QTest::keyClicks(name, path);
        QTest::keyClick(name, path.isEmpty() ? Qt::Key_Escape : Qt::Key_Return);
        return !IsShown("PtFileSelection");
    });
}

void WhenAskedToPrint(QString const &pdf) {
    Soon([=] {
        auto *const dialog = qobject_cast<QPrintDialog *>(Shown("PtPrintSelection"));
        if (!dialog)
            return false;
        boxes << dialog->windowTitle() + QLatin1Char('|');
        TakePicture("PtPrintSelection", "print.png");
        if (pdf.isEmpty()) {
            QTest::keyClick(dialog, Qt::Key_Escape);
            return true;
        }
        auto *const name = dialog->findChild<QLineEdit *>(QStringLiteral("filename"));
        EXPECT_TRUE(name);
        name->setText(pdf);
        QTest::keyClick(dialog, Qt::Key_Return);
        return true;
    });
}

bool AnswerNow(char const *name, QString const &button) {
    QWidget *const box = Shown(name);
    QAbstractButton *const wanted = box ? ButtonOf(box, button) : nullptr;
    if (wanted)
        QTest::mouseClick(wanted, Qt::LeftButton);
    return wanted;
}

QStringList const &Boxes() { return boxes; }
QString const &ProposedFile() { return proposed; }

void TakePicture(char const *name, char const *file) {
    QByteArray const folder = qgetenv("CORVANTA_SCREENSHOTS");
    if (!folder.isEmpty())
        if (QWidget *const widget = Shown(name))
            widget->window()->grab().save(QString::fromLocal8Bit(folder) + QLatin1Char('/') + QLatin1String(file));
}

std::string FileText(std::string const &path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}
