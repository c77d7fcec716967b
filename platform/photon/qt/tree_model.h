#pragma once
// A tree's items as Qt's item views want them.

#include "qt/view.h"

#include <QAbstractItemModel>
#include <QIcon>

#include <memory>
#include <unordered_map>

/// Mirrors the structure of a tree, one vector of handles per level that was looked into. A handle is followed only
/// while the tree has not changed since it was taken down: afterwards the model keeps its shape and answers nothing
/// until the next Update.
class TreeModel final : public QAbstractItemModel {
  public:
    /// `owner` is the view of the tree's widget.
    explicit TreeModel(View const &owner) : owner_(owner) {}

    void SetHeadings(QStringList const &headings);
    /// The pictures that items name by their number.
    void SetPictures(std::vector<QIcon> pictures);

    /// Takes the tree over as it is now: rows appended at the root become an insertion, all else a reset. Returns
    /// the first row that is new, -1 after a reset, the number of rows when there is nothing new.
    int Update(PtWidget &tree);
    /// Rows at the root that the model does not show yet.
    size_t Missing(PtTreeState const &state) const;
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
        std::vector<PtGenTreeItem_t *> items;
        std::unordered_map<int, std::unique_ptr<Level>> below; ///< by row
    };

    bool Current() const {
        PtWidget const *widget = owner_.widget();
        return widget && widget->tree && widget->tree->generation == generation_;
    }
    /// The level below a row, read in when it is asked for the first time; null when there is none.
    Level *Below(QModelIndex const &index) const;

    View const &owner_;
    uint64_t generation_ = ~uint64_t{0};
    std::unique_ptr<Level> root_ = std::make_unique<Level>();
    QStringList headings_;
    std::vector<QIcon> pictures_;
};
