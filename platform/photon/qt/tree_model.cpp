#include "qt/tree_model.h"

#include "qt/text_codec.h"

#include <algorithm>
#include <string_view>

namespace {

PtTreeItem_t *Row(PtGenTreeItem_t *item) { return reinterpret_cast<PtTreeItem_t *>(item); }

/// The part of a row's text that belongs to a column: tabs separate.
std::string_view Field(std::string_view text, int column) {
    for (; column > 0; column--) {
        size_t const tab = text.find('\t');
        if (tab == std::string_view::npos)
            return {};
        text.remove_prefix(tab + 1);
    }
    return text.substr(0, text.find('\t'));
}

} // namespace

void TreeModel::SetHeadings(QStringList const &headings) {
    beginResetModel();
    headings_ = headings;
    endResetModel();
}

void TreeModel::SetPictures(std::vector<QIcon> pictures) {
    pictures_ = std::move(pictures);
    Refresh();
}

size_t TreeModel::Missing(PtTreeState const &state) const {
    return Current() && state.root_count > root_->items.size() ? state.root_count - root_->items.size() : 0;
}

int TreeModel::Update(PtWidget &tree) {
    PtTreeState &state = *tree.tree;
    std::vector<PtGenTreeItem_t *> &rows = root_->items;
    if (Current() && rows.size() <= state.root_count) {
        int const first = static_cast<int>(rows.size());
        size_t const added = state.root_count - rows.size();
        if (added == 0)
            return first;
        beginInsertRows({}, first, first + static_cast<int>(added) - 1);
        PtGenTreeItem_t *item = rows.empty() ? state.first : rows.back()->brother;
        for (; item; item = item->brother)
            rows.push_back(item);
        endInsertRows();
        return first;
    }
    beginResetModel();
    generation_ = state.generation;
    root_->below.clear();
    rows.clear();
    rows.reserve(state.root_count);
    for (PtGenTreeItem_t *item = state.first; item; item = item->brother)
        rows.push_back(item);
    endResetModel();
    return -1;
}

void TreeModel::Refresh() {
    int const rows = static_cast<int>(root_->items.size());
    if (rows > 0)
        dataChanged(index(0, 0, {}), index(rows - 1, columnCount({}) - 1, {}));
}

PtGenTreeItem_t *TreeModel::Item(QModelIndex const &index) const {
    if (!index.isValid() || !Current())
        return nullptr;
    auto const *level = static_cast<Level const *>(index.internalPointer());
    auto const row = static_cast<size_t>(index.row());
    return row < level->items.size() ? level->items[row] : nullptr;
}

TreeModel::Level *TreeModel::Below(QModelIndex const &index) const {
    if (!index.isValid())
        return root_.get();
    auto *level = static_cast<Level *>(index.internalPointer());
    auto const known = level->below.find(index.row());
    if (known != level->below.end())
        return known->second.get();
    PtGenTreeItem_t const *item = Item(index);
    if (!item || !item->son)
        return nullptr;
    auto made = std::make_unique<Level>();
    made->above = level;
    made->row = index.row();
    for (PtGenTreeItem_t *son = item->son; son; son = son->brother)
        made->items.push_back(son);
    return (level->below[index.row()] = std::move(made)).get();
}

QModelIndex TreeModel::IndexOf(PtGenTreeItem_t *item) const {
    if (!item || !Current())
        return {};
    std::vector<PtGenTreeItem_t *> path;
    for (; item; item = item->father)
        path.push_back(item);
    QModelIndex index;
    for (; !path.empty(); path.pop_back()) {
        Level *level = Below(index);
        if (!level)
            return {};
        auto const found = std::find(level->items.begin(), level->items.end(), path.back());
        if (found == level->items.end())
            return {};
        index = createIndex(static_cast<int>(found - level->items.begin()), 0, level);
    }
    return index;
}

QModelIndex TreeModel::index(int row, int column, QModelIndex const &parent) const {
    Level *level = Below(parent);
    if (!level || row < 0 || static_cast<size_t>(row) >= level->items.size() || column < 0 ||
        column >= columnCount({}))
        return {};
    return createIndex(row, column, level);
}

QModelIndex TreeModel::parent(QModelIndex const &index) const {
    auto const *level = static_cast<Level const *>(index.internalPointer());
    return level && level->above ? createIndex(level->row, 0, level->above) : QModelIndex();
}

int TreeModel::rowCount(QModelIndex const &parent) const {
    if (parent.column() > 0)
        return 0;
    Level const *level = Below(parent);
    return level ? static_cast<int>(level->items.size()) : 0;
}

bool TreeModel::hasChildren(QModelIndex const &parent) const {
    if (!parent.isValid())
        return !root_->items.empty();
    if (parent.column() > 0)
        return false;
    if (PtGenTreeItem_t const *item = Item(parent))
        return item->son || (item->list.flags & Pt_TREE_ITEM_EXPANDABLE);
    return rowCount(parent) > 0;
}

QVariant TreeModel::data(QModelIndex const &index, int role) const {
    if (role != Qt::DisplayRole && role != Qt::DecorationRole)
        return {};
    PtGenTreeItem_t *item = Item(index);
    if (!item)
        return {};
    PtTreeItem_t const *row = Row(item);
    if (role == Qt::DisplayRole)
        return ShownText(Field(row->string ? row->string : "", index.column()), TextShape::Row);
    if (index.column() != 0)
        return {};
    bool const set = item->list.flags & (Pt_LIST_ITEM_SELECTED | Pt_TREE_ITEM_EXPANDED);
    int const image = set ? row->attr.img.set : row->attr.img.unset;
    bool const known = image >= 0 && static_cast<size_t>(image) < pictures_.size();
    return known ? QVariant(pictures_[static_cast<size_t>(image)]) : QVariant();
}

QVariant TreeModel::headerData(int section, Qt::Orientation orientation, int role) const {
    if (orientation == Qt::Horizontal && role == Qt::DisplayRole && section < headings_.size())
        return headings_.at(section);
    if (orientation == Qt::Horizontal && role == Qt::TextAlignmentRole)
        return int(Qt::AlignLeft | Qt::AlignVCenter);
    return {};
}
