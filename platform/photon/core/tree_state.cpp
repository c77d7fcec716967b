// Selection, expansion and the current item of trees.

#include "core/state.h"

#include <cstdlib>
#include <utility>

namespace {

PtTreeState *StateOf(PtWidget_t const *tree) { return tree ? tree->tree.get() : nullptr; }

bool Has(PtGenTreeItem_t const *item, unsigned flags) { return (item->list.flags & flags) == flags; }

bool IsVisible(PtGenTreeItem_t const *item) {
    for (item = item->father; item; item = item->father)
        if (!Has(item, Pt_TREE_ITEM_EXPANDED))
            return false;
    return true;
}

void MarkSelection(PtWidget_t &tree) {
    tree.tree->selection_changed = true;
    PtMarkDirty(tree, kDirtyTree);
}

void SetExpanded(PtWidget_t *tree, PtGenTreeItem_t *item, bool expanded) {
    if (Has(item, Pt_TREE_ITEM_EXPANDED) == expanded)
        return;
    item->list.flags ^= Pt_TREE_ITEM_EXPANDED;
    if (!StateOf(tree) || !Has(item, Pt_TREE_ITEM_INATREE))
        return;
    tree->tree->expansion_changed = true;
    PtMarkDirty(*tree, kDirtyTree);
}

} // namespace

void PtStoreCurrent(PtWidget_t &tree, PtGenTreeItem_t *item) {
    constexpr unsigned kBoth = Pt_LIST_ITEM_SELECTED | Pt_LIST_ITEM_CURRENT;
    if (PtGenTreeItem_t *const old = std::exchange(tree.tree->current, item))
        old->list.flags &= ~kBoth;
    if (item)
        item->list.flags |= kBoth;
}

void PtStoreExpanded(PtGenTreeItem_t *item, bool expanded) {
    if (expanded)
        item->list.flags |= Pt_TREE_ITEM_EXPANDED;
    else
        item->list.flags &= ~Pt_TREE_ITEM_EXPANDED;
}

int PtGenTreeExpand(PtWidget_t *tree, PtGenTreeItem_t *item, PhEvent_t *) {
    if (!item || !Has(item, Pt_TREE_ITEM_EXPANDABLE))
        return -1;
    SetExpanded(tree, item, true);
    return 0;
}

void PtGenTreeCollapse(PtWidget_t *tree, PtGenTreeItem_t *item, PhEvent_t *) {
    if (item)
        SetExpanded(tree, item, false);
}

void PtGenTreeSelect(PtWidget_t *tree, PtGenTreeItem_t *item) {
    if (!item)
        return;
    if (!StateOf(tree) || !Has(item, Pt_TREE_ITEM_INATREE)) {
        item->list.flags |= Pt_LIST_ITEM_SELECTED;
        return;
    }
    PtStoreCurrent(*tree, item);
    MarkSelection(*tree);
}

void PtGenTreeUnselect(PtWidget_t *tree, PtGenTreeItem_t *item) {
    if (item && !Has(item, Pt_TREE_ITEM_INATREE))
        item->list.flags &= ~Pt_LIST_ITEM_SELECTED;
    else if (item && StateOf(tree) && tree->tree->current == item)
        PtGenTreeClearSelection(tree);
}

void PtGenTreeClearSelection(PtWidget_t *tree) {
    if (!StateOf(tree) || !tree->tree->current)
        return;
    PtStoreCurrent(*tree, nullptr);
    MarkSelection(*tree);
}

void PtGenTreeShow(PtWidget_t *tree, PtGenTreeItem_t *item) {
    if (!StateOf(tree) || !item || !Has(item, Pt_TREE_ITEM_INATREE))
        return;
    tree->tree->show = item;
    PtMarkDirty(*tree, kDirtyTree);
}

void PtGenTreeGoto(PtWidget_t *tree, PtGenTreeItem_t *item) {
    if (!StateOf(tree) || !item || !Has(item, Pt_TREE_ITEM_INATREE))
        return;
    PtGenTreeSelect(tree, item);
    PtGenTreeShow(tree, item);
}

void PtGenTreeDamageItem(PtWidget_t *tree, PtGenTreeItem_t *item) {
    if (!StateOf(tree) || !item || !Has(item, Pt_TREE_ITEM_INATREE))
        return;
    tree->tree->texts_changed = true;
    PtMarkDirty(*tree, kDirtyTree);
}

PtTreeItem_t *PtTreeGetCurrent(PtWidget_t const *tree) {
    PtTreeState const *const state = StateOf(tree);
    return state && state->current && IsVisible(state->current) ? reinterpret_cast<PtTreeItem_t *>(state->current)
                                                                : nullptr;
}

PtTreeItem_t **PtTreeSelectedItems(PtWidget_t const *tree, PtTreeItem_t **buffer) {
    PtTreeState const *const state = StateOf(tree);
    if (!state || !state->current)
        return nullptr;
    if (!buffer)
        buffer = static_cast<PtTreeItem_t **>(malloc(2 * sizeof *buffer));
    if (!buffer)
        return nullptr;
    buffer[0] = reinterpret_cast<PtTreeItem_t *>(state->current);
    buffer[1] = nullptr;
    return buffer;
}
