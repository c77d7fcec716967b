#pragma once
// The Qt widget of trees and lists: its selection comes once per finished user action.

#include "qt/views/tree_model.h"

#include <QTreeView>

class TreeView;

/// The Qt widget. It reports finished clicks and keys to its view; programmatic changes report nothing.
class TreeFrame final : public QTreeView {
  public:
    explicit TreeFrame(QWidget *parent);

    /// The tree that a receiver of input is, or is the viewport of; null for none.
    static TreeFrame *Containing(QObject *receiver);
    /// Column headings and widths from the module file's properties `columns`, `columnWidths` and `columnStretch`
    /// (the column, from 0, that takes the room the others leave; without it the last one does), and from
    /// `branchColumn` the column that is indented and has the arrows.
    void TakeColumns();
    /// A list with a `branchColumn` is indented only while any row has others below it.
    void ShowBranches(bool any);
    /// The right button went down: the row under it becomes current and selected, without a selection callback.
    void RightPress(QPoint on_screen);
    /// What was expanded or collapsed is laid out at once, before the next painting.
    void LayOutLater() { scheduleDelayedItemsLayout(); }
    /// Scrolls so that a row is the first one shown.
    void KeepAtTop(QModelIndex const &row);
    /// Where a menu opened by key belongs: below the current row, on the screen.
    QPoint CurrentPlace() const;

    TreeModel *model_ = nullptr;
    TreeView *view_ = nullptr;
    qint64 paint_cost_ = 0; ///< microseconds of the last painting

  protected:
    void mousePressEvent(QMouseEvent *event) override;
    void mouseMoveEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;
    void mouseDoubleClickEvent(QMouseEvent *event) override;
    void contextMenuEvent(QContextMenuEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    void paintEvent(QPaintEvent *event) override;
    QItemSelectionModel::SelectionFlags selectionCommand(QModelIndex const &index,
                                                         QEvent const *event) const override;

  private:
    bool OnDecoration(QPoint place) const;
    bool ShowsCurrent() const;
    bool Press(QMouseEvent *event, int clicks);

    int clicks_ = 0; ///< of the press under way, 0 when it was on no row
};
