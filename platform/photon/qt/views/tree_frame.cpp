#include "qt/views/tree_frame.h"

#include "qt/loop/events.h"
#include "qt/views/tree_view.h"

#include <QContextMenuEvent>
#include <QHeaderView>
#include <QMouseEvent>
#include <QScrollBar>
#include <QStyledItemDelegate>

namespace {

constexpr int kRowAir = 7;   // pixels above and below a row's text together
constexpr int kPicture = 16; // a row's picture, whatever its own size

/// Rows with some air. All rows of a list are as high as its first, so this is asked once.
class RowDelegate final : public QStyledItemDelegate {
  public:
    using QStyledItemDelegate::QStyledItemDelegate;
    QSize sizeHint(QStyleOptionViewItem const &option, QModelIndex const &index) const override {
        QSize const hint = QStyledItemDelegate::sizeHint(option, index);
        return {hint.width(), std::max(hint.height(), option.fontMetrics.height() + kRowAir)};
    }
};

} // namespace

TreeFrame::TreeFrame(QWidget *parent) : QTreeView(parent) {
    setUniformRowHeights(true);
    setItemDelegate(new RowDelegate(this));
    setIconSize(QSize(kPicture, kPicture));
    setSelectionBehavior(QAbstractItemView::SelectRows);
    setSelectionMode(QAbstractItemView::SingleSelection);
    setEditTriggers(QAbstractItemView::NoEditTriggers);
    setExpandsOnDoubleClick(false);
    setAllColumnsShowFocus(true);
    setVerticalScrollMode(QAbstractItemView::ScrollPerItem);
    setTextElideMode(Qt::ElideRight);
    header()->setStretchLastSection(true);
    setHeaderHidden(true);
}

TreeFrame *TreeFrame::Containing(QObject *receiver) {
    for (int i = 0; receiver && i < 2; i++, receiver = receiver->parent())
        if (auto *tree = dynamic_cast<TreeFrame *>(receiver))
            return tree;
    return nullptr;
}

void TreeFrame::TakeColumns() {
    QStringList const headings = property("columns").toStringList();
    if (!headings.isEmpty()) {
        model_->SetHeadings(headings);
        setHeaderHidden(false);
    }
    int column = 0;
    header()->setMinimumSectionSize(16);
    for (QString const &width : property("columnWidths").toStringList())
        if (int const pixels = width.toInt(); pixels > 0 && column < header()->count())
            header()->resizeSection(column++, pixels);
    bool known = false;
    int const wide = property("columnStretch").toInt(&known);
    if (known && wide >= 0 && wide < header()->count()) {
        header()->setStretchLastSection(false);
        header()->setSectionResizeMode(wide, QHeaderView::Stretch);
    }
    int const branches = property("branchColumn").toInt(&known);
    if (known && branches >= 0 && branches < header()->count())
        setTreePosition(branches);
}

void TreeFrame::ShowBranches(bool any) {
    if (treePosition() >= 0 && any != rootIsDecorated())
        setRootIsDecorated(any);
}

bool TreeFrame::OnDecoration(QPoint place) const {
    QModelIndex const row = indexAt(place).siblingAtColumn(0);
    if (!row.isValid() || !model()->hasChildren(row) || (!rootIsDecorated() && !row.parent().isValid()))
        return false;
    int const left = visualRect(row.siblingAtColumn(std::max(0, treePosition()))).left();
    return place.x() < left && place.x() >= left - indentation();
}

bool TreeFrame::Press(QMouseEvent *event, int clicks) {
    clicks_ = 0;
    QPoint const place = event->position().toPoint();
    if (event->button() == Qt::RightButton) {
        RightPress(event->globalPosition().toPoint());
        return true;
    }
    if (event->button() != Qt::LeftButton)
        return true;
    if (indexAt(place).isValid() && !OnDecoration(place))
        clicks_ = clicks;
    return false;
}

void TreeFrame::mousePressEvent(QMouseEvent *event) {
    if (Press(event, 1))
        return;
    QTreeView::mousePressEvent(event);
    bool const beside = !indexAt(event->position().toPoint()).isValid();
    if (beside)
        selectionModel()->clear();
    if ((clicks_ > 0 || beside) && view_) // stored now, should the list be built again before the button is up
        view_->StoreChoice();
}

void TreeFrame::mouseDoubleClickEvent(QMouseEvent *event) {
    if (!Press(event, 2))
        QTreeView::mouseDoubleClickEvent(event);
}

void TreeFrame::mouseMoveEvent(QMouseEvent *event) {
    // Without a press on a row the pointer drags nothing along.
    if (clicks_ > 0 || !(event->buttons() & Qt::LeftButton))
        QTreeView::mouseMoveEvent(event);
}

void TreeFrame::mouseReleaseEvent(QMouseEvent *event) {
    if (event->button() != Qt::LeftButton)
        return;
    QTreeView::mouseReleaseEvent(event);
    int const clicks = std::exchange(clicks_, 0);
    // Last: the callback may free the row, or all of them.
    if (clicks > 0 && view_)
        view_->Choose(Ph_EV_BUT_RELEASE, clicks);
}

void TreeFrame::contextMenuEvent(QContextMenuEvent *event) { event->accept(); }

void TreeFrame::RightPress(QPoint on_screen) {
    setFocus(Qt::MouseFocusReason);
    QPoint const place = viewport()->mapFromGlobal(on_screen);
    QModelIndex const index = indexAt(place);
    if (index.isValid())
        selectionModel()->setCurrentIndex(index.siblingAtColumn(0),
                                          QItemSelectionModel::ClearAndSelect | QItemSelectionModel::Rows);
    if (view_)
        view_->StoreChoice();
}

void TreeFrame::KeepAtTop(QModelIndex const &row) {
    QRect const place = visualRect(row); // laid out now; the bar counts rows
    if (place.isValid() && place.height() > 0)
        verticalScrollBar()->setValue(verticalScrollBar()->value() + place.top() / place.height());
}

bool TreeFrame::ShowsCurrent() const {
    for (QModelIndex above = currentIndex().parent(); above.isValid(); above = above.parent())
        if (!isExpanded(above))
            return false;
    return currentIndex().isValid();
}

QPoint TreeFrame::CurrentPlace() const {
    QRect const row = visualRect(currentIndex().siblingAtColumn(0));
    return viewport()->mapToGlobal(row.isValid() ? row.bottomLeft() : QPoint(0, 0));
}

void TreeFrame::keyPressEvent(QKeyEvent *event) {
    if (!view_)
        return;
    int const key = event->key();
    if (key == Qt::Key_Return || key == Qt::Key_Enter || key == Qt::Key_Space) {
        if (!ShowsCurrent()) {
            event->ignore(); // a dialog's default button may want it
            return;
        }
        selectionModel()->setCurrentIndex(currentIndex(),
                                          QItemSelectionModel::ClearAndSelect | QItemSelectionModel::Rows);
        view_->Choose(Ph_EV_KEY, 0);
        return;
    }
    QPersistentModelIndex const before(currentIndex());
    QTreeView::keyPressEvent(event);
    if (currentIndex() != before && currentIndex().isValid() && view_)
        view_->Choose(Ph_EV_KEY, 0);
}

void TreeFrame::paintEvent(QPaintEvent *event) {
    QElapsedTimer clock;
    clock.start();
    QTreeView::paintEvent(event);
    paint_cost_ = clock.nsecsElapsed() / 1000;
}

QItemSelectionModel::SelectionFlags TreeFrame::selectionCommand(QModelIndex const &index, QEvent const *) const {
    // Qt would unselect the row on a click with Ctrl, and when the pointer is dragged to where no row is.
    return index.isValid() ? QItemSelectionModel::ClearAndSelect | QItemSelectionModel::Rows
                           : QItemSelectionModel::NoUpdate;
}
