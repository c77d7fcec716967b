#include "qt/views/tree_model.h"

#include "qt/views/text_codec.h"

#include <string_view>
#include <utility>

namespace {

PtTreeItem_t *Row(PtGenTreeItem_t *item) { return reinterpret_cast<PtTreeItem_t *>(item); }

/// The row of an item in its level, kept in the item's size, which nothing else uses here.
void NoteRow(PtGenTreeItem_t *item, size_t row) {
    item->list.size.w = static_cast<unsigned short>(row);
    item->list.size.h = static_cast<unsigned short>(row >> 16);
}

size_t NotedRow(PtGenTreeItem_t const *item) { return item->list.size.w | size_t{item->list.size.h} << 16; }

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

void TreeModel::SetPictures(std::vector<std::function<QIcon()>> make) {
    make_picture_ = std::move(make);
    pictures_.assign(make_picture_.size(), {});
    Refresh();
}

QVariant TreeModel::Picture(int number) const {
    auto const at = static_cast<size_t>(number);
    if (number < 0 || at >= pictures_.size())
        return {};
    if (pictures_[at].isNull())
        pictures_[at] = make_picture_[at]();
    return pictures_[at];
}

bool TreeModel::Behind(PtTreeState const &state) const {
    return Current() && (state.root_count > root_.items.size() || !state.grown.empty() || state.branches_changed);
}

void TreeModel::Append(Level &level, PtGenTreeItem_t *item) {
    for (; item; item = item->brother) {
        NoteRow(item, level.items.size());
        level.items.push_back(item);
    }
}

TreeModel::Change TreeModel::Update(PtWidget &tree) {
    PtTreeState &state = *tree.tree;
    std::vector<PtGenTreeItem_t *> const grown = std::exchange(state.grown, {});
    bool const branches = std::exchange(state.branches_changed, false);
    if (!Current() || root_.items.size() > state.root_count) {
        beginResetModel();
        generation_ = state.generation;
        levels_.clear();
        root_.items.clear();
        root_.items.reserve(state.root_count);
        Append(root_, state.first);
        endResetModel();
        return Change::Reset;
    }
    std::vector<Level *> levels;
    for (PtGenTreeItem_t *item : grown) {
        item->list.flags &= ~kPtItemGrew;
        auto const level = levels_.find(item);
        if (level != levels_.end() && level->second.items.back()->brother)
            levels.push_back(&level->second);
    }
    size_t const added = state.root_count - root_.items.size();
    if (added > 0 && levels.empty() && !branches) {
        int const first = static_cast<int>(root_.items.size());
        beginInsertRows({}, first, first + static_cast<int>(added) - 1);
        Append(root_, root_.items.empty() ? state.first : root_.items.back()->brother);
        endInsertRows();
        return Change::Grown;
    }
    if (added == 0 && levels.empty() && !branches)
        return Change::None;
    // One change of layout for all levels: each insertion would go through all open rows. No row moves.
    layoutAboutToBeChanged();
    if (added > 0)
        Append(root_, root_.items.empty() ? state.first : root_.items.back()->brother);
    for (Level *level : levels)
        Append(*level, level->items.back()->brother);
    layoutChanged();
    return Change::Grown;
}

void TreeModel::Refresh() {
    int const rows = static_cast<int>(root_.items.size());
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
        return &root_;
    auto *above = static_cast<Level *>(const_cast<void *>(index.internalPointer()));
    auto const row = static_cast<size_t>(index.row());
    if (row >= above->items.size())
        return nullptr;
    PtGenTreeItem_t *item = above->items[row]; // not followed unless it is current
    auto const known = levels_.find(item);
    if (known != levels_.end())
        return &known->second;
    if (!Current() || !item->son || above->depth + 1 >= kDeepestLevel)
        return nullptr;
    Level &made = levels_[item];
    made.depth = above->depth + 1;
    made.above = above;
    made.row = index.row();
    Append(made, item->son);
    item->list.flags = (item->list.flags | kPtItemSeen) & ~kPtItemGrew;
    return &made;
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
        size_t const row = NotedRow(path.back());
        if (!level || row >= level->items.size() || level->items[row] != path.back())
            return {};
        index = createIndex(static_cast<int>(row), 0, level);
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
        return !root_.items.empty();
    if (parent.column() > 0)
        return false;
    if (static_cast<Level const *>(parent.internalPointer())->depth + 1 >= kDeepestLevel)
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
    return Picture(image);
}

QVariant TreeModel::headerData(int section, Qt::Orientation orientation, int role) const {
    if (orientation == Qt::Horizontal && role == Qt::DisplayRole && section < headings_.size())
        return headings_.at(section);
    if (orientation == Qt::Horizontal && role == Qt::TextAlignmentRole)
        return int(Qt::AlignLeft | Qt::AlignVCenter);
    return {};
}
