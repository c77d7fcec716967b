// An empty window with a tree, a list and a text view: what a window of this kind costs at least.

#include "first_paint.h"

#include <QListView>
#include <QSplitter>
#include <QTextBrowser>
#include <QTreeView>

int main(int argc, char **argv) {
    QApplication application(argc, argv);
    QSplitter window;
    QTreeView tree;
    QListView list;
    QTextBrowser text;
    window.addWidget(&tree);
    window.addWidget(&list);
    window.addWidget(&text);
    window.resize(1000, 700);
    window.show();
    FirstPaint const watch;
    return QApplication::exec();
}
