#pragma once
// Trees and lists: a Qt tree view whose selection callbacks come once per finished user action.

#include "qt/tree_model.h"
#include "qt/view.h"

#include <QElapsedTimer>
#include <QTimer>
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
    bool Press(QMouseEvent *event, int clicks);

    int clicks_ = 0; ///< of the press under way, 0 when it was on no row
};

class TreeView final : public View {
  public:
    TreeView(PtWidget &widget, TreeFrame *frame, bool owned);
    ~TreeView() override;

    void Sync(PtWidget &widget) override;

    /// The user's choice is the frame's current row: stored, and reported to the selection callbacks.
    void Choose(unsigned long event_type, int clicks);
    /// Stores what the frame has selected and as current, without a callback.
    void StoreChoice();
    /// Shows an input event to the input callbacks. True when they consumed it.
    bool Input(QPoint place, PhEvent_t const &event);

  protected:
    void Apply(PtWidget &widget, long resource) override;

  private:
    void Update(PtWidget &widget);
    void Show(PtGenTreeItem_t *item);
    void ShowSelection(PtWidget &widget);
    void ExpandFrom(QModelIndex const &parent);
    void Expanded(QModelIndex const &index, bool expanded);

    QPointer<TreeFrame> frame_;
    TreeModel model_;
    bool open_ = false;    ///< rows wait to be opened or shut
    bool showing_ = false; ///< changes of the frame come from the state
    QTimer later_;         ///< rows that wait to be shown
    QElapsedTimer clock_;  ///< since the budget was last counted
    qint64 budget_;        ///< microseconds that showing new rows may take now
};
