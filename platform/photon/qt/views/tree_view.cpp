#include "qt/views/tree_view.h"

#include "qt/loop/events.h"
#include "qt/views/image.h"
#include "qt/views/views.h"

#include <QHeaderView>
#include <QPainter>
#include <QScrollBar>

#include <cstring>

namespace {

// A worker that adds thousands of rows and flushes after each would spend its time in layouts of a growing list. New
// rows may take this long at once (microseconds), and a twentieth of the time after that; what waits is shown soon.
constexpr qint64 kBudget = 50'000;
constexpr qint64 kShare = 20;
constexpr int kLater = 100; // milliseconds

/// A picture as rows show it. In a selected row it is a shape in the text's colour: a tint, as styles do it, makes
/// what has the selection's own colour vanish.
QIcon RowPicture(QIcon const &icon, TreeFrame const &frame) {
    QIcon rows;
    for (int const scale : {1, 2, 3}) {
        QPixmap picture = icon.pixmap(frame.iconSize(), scale);
        rows.addPixmap(picture, QIcon::Normal);
        QPainter painter(&picture);
        painter.setCompositionMode(QPainter::CompositionMode_SourceIn);
        painter.fillRect(picture.rect(), frame.palette().color(QPalette::HighlightedText));
        painter.end();
        rows.addPixmap(picture, QIcon::Selected);
    }
    return rows;
}

} // namespace

TreeView::TreeView(PtWidget &widget, TreeFrame *frame, bool owned)
    : View(widget, frame, owned), frame_(frame), model_(*this), budget_(kBudget) {
    frame->model_ = &model_;
    frame->view_ = this;
    frame->setModel(&model_);
    frame->TakeColumns();
    later_.setSingleShot(true);
    clock_.start();
    connect(&later_, &QTimer::timeout, this, [this] {
        if (this->widget()) {
            budget_ = std::max(budget_, qint64{0});
            Update(*this->widget());
        }
    });
    connect(frame, &QTreeView::expanded, this, [this](QModelIndex const &index) { Expanded(index, true); });
    connect(frame, &QTreeView::collapsed, this, [this](QModelIndex const &index) { Expanded(index, false); });
}

TreeView::~TreeView() {
    if (!frame_)
        return;
    frame_->view_ = nullptr;
    frame_->disconnect(this);
    frame_->setModel(nullptr);
    frame_->model_ = nullptr;
}

void TreeView::Sync(PtWidget &widget) {
    if (!frame_)
        return;
    View::Sync(widget);
    if (!(widget.dirty & kDirtyTree) || !widget.tree)
        return;
    PtTreeState &state = *widget.tree;
    budget_ = std::min(kBudget, budget_ + clock_.nsecsElapsed() / 1000 / kShare);
    clock_.restart();
    if (state.texts_changed)
        frame_->viewport()->update();
    open_ |= state.expansion_changed;
    bool const only_rows = !state.selection_changed && !state.show;
    if (only_rows && budget_ < 0 && (open_ || model_.Behind(state))) {
        if (!later_.isActive())
            later_.start(kLater);
        return;
    }
    Update(widget);
}

void TreeView::Update(PtWidget &widget) {
    PtTreeState &state = *widget.tree;
    QElapsedTimer clock;
    clock.start();
    later_.stop();
    showing_ = true;
    int const scrolled = frame_->verticalScrollBar()->value();
    // Rows may come above the first one shown, which is to stay where it is.
    QPersistentModelIndex top;
    if (scrolled > 0 && !state.grown.empty())
        top = frame_->indexAt({0, 0}).siblingAtColumn(0);
    TreeModel::Change const change = model_.Update(widget);
    bool const reset = change == TreeModel::Change::Reset;
    frame_->ShowBranches(state.item_count != state.root_count);
    bool const opened = std::exchange(open_, false);
    if ((reset || opened) && state.item_count != state.root_count)
        ExpandFrom({});
    if (reset || opened || state.selection_changed)
        ShowSelection(widget);
    if (reset) {
        frame_->doItemsLayout();
        frame_->verticalScrollBar()->setValue(scrolled);
    } else if (top.isValid()) {
        frame_->KeepAtTop(top);
    }
    if (state.show)
        Show(state.show);
    if (opened || state.selection_changed || change != TreeModel::Change::None)
        frame_->viewport()->update(); // not for rows below shut ones
    showing_ = false;
    budget_ -= clock.nsecsElapsed() / 1000 + frame_->paint_cost_;
}

/// Scrolls to an item, or to the row that hides it.
void TreeView::Show(PtGenTreeItem_t *item) {
    PtGenTreeItem_t *shown = item;
    for (PtGenTreeItem_t *above = item->father; above; above = above->father)
        if (!(above->list.flags & Pt_TREE_ITEM_EXPANDED))
            shown = above;
    if (QModelIndex const row = model_.IndexOf(shown); row.isValid())
        frame_->scrollTo(row);
}

/// Opens the rows below `parent` that the items have open, shuts the others.
void TreeView::ExpandFrom(QModelIndex const &parent) {
    std::vector<QModelIndex> levels{parent};
    while (!levels.empty()) {
        QModelIndex const level = levels.back();
        levels.pop_back();
        int const rows = model_.rowCount(level);
        for (int row = 0; row < rows; row++) {
            QModelIndex const index = model_.index(row, 0, level);
            PtGenTreeItem_t const *item = model_.Item(index);
            if (!item || !item->son)
                continue;
            bool const open = item->list.flags & Pt_TREE_ITEM_EXPANDED;
            if (open != frame_->isExpanded(index)) {
                frame_->LayOutLater(); // once for all rows
                frame_->setExpanded(index, open);
            }
            if (open)
                levels.push_back(index);
        }
    }
}

void TreeView::ShowSelection(PtWidget &widget) {
    PtTreeState &state = *widget.tree;
    QItemSelectionModel *selection = frame_->selectionModel();
    QModelIndex const row = model_.IndexOf(state.current);
    QItemSelection rows;
    if (row.isValid())
        rows.select(row, row.siblingAtColumn(model_.columnCount({}) - 1));
    // A row that becomes current is not to be scrolled to: where the list stands is the user's.
    bool const scrolls = frame_->hasAutoScroll();
    frame_->setAutoScroll(false);
    selection->setCurrentIndex(row, QItemSelectionModel::NoUpdate);
    selection->select(rows, QItemSelectionModel::ClearAndSelect);
    frame_->setAutoScroll(scrolls);
}

void TreeView::Apply(PtWidget &widget, long resource) {
    switch (resource) {
    case Pt_ARG_TREE_IMAGES: {
        PtValue const *value = PtValueOf(widget, resource);
        std::vector<PhImage *> images(value->bytes.size() / sizeof(PhImage *));
        memcpy(images.data(), value->bytes.data(), images.size() * sizeof(PhImage *));
        std::vector<std::function<QIcon()>> pictures;
        for (PhImage *image : images)
            pictures.emplace_back([this, image] { return image ? RowPicture(IconFor(*image), *frame_) : QIcon(); });
        model_.SetPictures(std::move(pictures));
        break;
    }
    default:
        View::Apply(widget, resource);
    }
}

void TreeView::StoreChoice() {
    if (!widget() || PtIsBlocked(*widget()))
        return;
    QModelIndexList const rows = frame_->selectionModel()->selectedRows();
    PtStoreCurrent(*widget(), rows.isEmpty() ? nullptr : model_.Item(rows.first()));
}

void TreeView::Choose(unsigned long event_type, int clicks) {
    StoreChoice();
    PtGenTreeItem_t *item = widget() ? widget()->tree->current : nullptr;
    if (!item)
        return;
    PtTreeCallback_t data{};
    data.sel_mode = Pt_BROWSE_MODE;
    data.item = reinterpret_cast<PtTreeItem_t *>(item);
    data.nitems = 1;
    data.click_count = clicks;
    PhEvent_t event = *CurrentInput();
    event.type = event_type;
    event.pointer.click_count = static_cast<unsigned char>(clicks);
    CurrentInputScope const scope(event);
    Call(Pt_CB_TREE_SELECTION, 0, &data);
}

void TreeView::Expanded(QModelIndex const &index, bool expanded) {
    PtGenTreeItem_t *const item = showing_ || !widget() ? nullptr : model_.Item(index);
    if (!item)
        return;
    showing_ = true;
    PtStoreExpanded(item, expanded);
    if (expanded)
        ExpandFrom(index);
    showing_ = false;
}

std::unique_ptr<PtView> MakeTreeView(PtWidget &widget, QObject *native, bool owned) {
    return std::make_unique<TreeView>(widget, static_cast<TreeFrame *>(native), owned);
}
