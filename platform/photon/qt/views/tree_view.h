#pragma once
// The view of trees and lists.

#include "qt/views/tree_frame.h"
#include "qt/views/view.h"

#include <QElapsedTimer>
#include <QTimer>

class TreeView final : public View {
  public:
    TreeView(PtWidget &widget, TreeFrame *frame, bool owned);
    ~TreeView() override;

    void Sync(PtWidget &widget) override;

    /// The user's choice is the frame's current row: stored, and reported to the selection callbacks.
    void Choose(unsigned long event_type, int clicks);
    /// Stores what the frame has selected and as current, without a callback.
    void StoreChoice();

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
