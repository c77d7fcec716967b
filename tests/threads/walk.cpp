#include "threads/walk.h"

#include "ui/person.h"

#include <QTest>
#include <QTreeView>

#include <chrono>
#include <cstdlib>

namespace {

void AllRows(QAbstractItemModel const &model, QModelIndex const &parent, QList<QModelIndex> &rows) {
    for (int row = 0; row < model.rowCount(parent); row++) {
        QModelIndex const index = model.index(row, 0, parent);
        rows << index;
        AllRows(model, index, rows);
    }
}

/// Threads grow while a worker adds answers: every walk over the rows is the library's.
QList<QModelIndex> AllRows(QTreeView const &tree) {
    QList<QModelIndex> rows;
    AllRows(*tree.model(), {}, rows);
    return rows;
}

} // namespace

int RowCount(char const *name) {
    auto *const tree = qobject_cast<QTreeView *>(Find(name));
    return Locked([=] { return static_cast<int>(AllRows(*tree).size()); });
}

bool ClickOn(char const *name, int number, Qt::MouseButton button) {
    auto *const tree = qobject_cast<QTreeView *>(Find(name));
    QRect const place = Locked([=] {
        QList<QModelIndex> const rows = AllRows(*tree);
        if (number >= rows.size())
            return QRect();
        tree->scrollTo(rows[number]);
        return tree->visualRect(rows[number].siblingAtColumn(tree->model()->columnCount({}) > 1 ? 1 : 0));
    });
    if (place.isEmpty())
        return false;
    QTest::mousePress(tree->viewport(), button, {}, place.center());
    QTest::mouseRelease(tree->viewport(), button, {}, place.center());
    return true;
}

void CloseBy(char const *button, char const *window) {
    EXPECT_TRUE(WaitFor(
        [=] {
            if (IsShown(button))
                Click(button);
            return !IsShown(window);
        },
        60000))
        << window << " does not close";
}

long FromEnvironment(char const *name, long otherwise) {
    char const *const text = getenv(name);
    return text ? strtol(text, nullptr, 10) : otherwise;
}

unsigned RandomSeed() {
    auto const now = std::chrono::system_clock::now().time_since_epoch();
    return static_cast<unsigned>(FromEnvironment("CORVANTA_SEED", now.count() / 1000 % 1000000));
}
