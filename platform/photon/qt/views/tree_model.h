#pragma once
// A tree's items as Qt's item views want them.

#include "qt/views/view.h"

#include <QAbstractItemModel>
#include <QIcon>

#include <functional>
#include <unordered_map>
#include <vector>

/// Mirrors the structure of a tree, one vector of handles per level that was looked into. A handle is followed only
/// while no such level has changed but by rows appended to it: afterwards the model keeps its shape and answers
/// nothing until the next Update. Levels are kept side by side, so that nothing here recurses; kDeepestLevel keeps
/// Qt's own recursion within its stack.
constexpr int kDeepestLevel = 12'000; ///< rows below this many others are not shown: each takes 350 bytes of stack

class TreeModel final : public QAbstractItemModel {
  public:
    /// `owner` is the view of the tree's widget.
    explicit TreeModel(View const &owner) : owner_(owner) {}

    void SetHeadings(QStringList const &headings);
    /// The pictures that items name by their number; each is made when the first of its rows is painted.
    void SetPictures(std::vector<std::function<QIcon()>> make);

    enum class Change { None, Grown, Reset };
    /// Takes the tree over as it is now: rows appended to levels that were looked into are added at a cost of their
    /// number, all else is a reset.
    Change Update(PtWidget &tree);
    /// Rows have been appended that the model does not show yet, or rows can be opened now.
    bool Behind(PtTreeState const &state) const;
    /// Texts changed.
    void Refresh();

    /// The item of a row; null when the tree has changed since.
    PtGenTreeItem_t *Item(QModelIndex const &index) const;
    /// The row of an item that is in the tree; invalid when the model does not have it yet.
    QModelIndex IndexOf(PtGenTreeItem_t *item) const;

    QModelIndex index(int row, int column, QModelIndex const &parent) const override;
    QModelIndex parent(QModelIndex const &index) const override;
    int rowCount(QModelIndex const &parent) const override;
    int columnCount(QModelIndex const &) const override {
        return std::max<int>(1, static_cast<int>(headings_.size()));
    }
    bool hasChildren(QModelIndex const &parent) const override;
    QVariant data(QModelIndex const &index, int role) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;

  private:
    struct Level {
        Level *above = nullptr; ///< the level of the row that these are below; null for the root
        int row = 0;            ///< that row
        int depth = 0;
        std::vector<PtGenTreeItem_t *> items;
    };

    bool Current() const {
        PtWidget const *widget = owner_.widget();
        return widget && widget->tree && widget->tree->generation == generation_;
    }
    /// The level below a row, read in when it is asked for the first time; null when there is none.
    Level *Below(QModelIndex const &index) const;
    /// Appends `item` and its following brothers to a level.
    static void Append(Level &level, PtGenTreeItem_t *item);

    View const &owner_;
    uint64_t generation_ = ~uint64_t{0};
    mutable Level root_;
    mutable std::unordered_map<PtGenTreeItem_t const *, Level> levels_; ///< by the item above
    QStringList headings_;
    QVariant Picture(int number) const;
    std::vector<std::function<QIcon()>> make_picture_;
    mutable std::vector<QIcon> pictures_; ///< null until made
};
