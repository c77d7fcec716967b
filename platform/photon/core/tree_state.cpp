// Selection, expansion and the current item of trees.

#include "core/state.h"

#include <algorithm>
#include <cstdlib>
#include <utility>

namespace {

PtTreeState *StateOf(PtWidget_t const *tree) { return tree ? tree->tree.get() : nullptr; }

bool Has(PtGenTreeItem_t const *item, unsigned flags) { return (item->list.flags & flags) == flags; }

unsigned Mode(PtWidget_t const &tree) {
    return static_cast<unsigned>(PtValueOf(const_cast<PtWidget_t &>(tree), Pt_ARG_SELECTION_MODE)->scalar);
}

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

/// The row after `item` as it is shown: collapsed items hide what is below them.
PtGenTreeItem_t const *NextRow(PtGenTreeItem_t const *item) {
    if (item->son && Has(item, Pt_TREE_ITEM_EXPANDED))
        return item->son;
    while (item && !item->brother)
        item = item->father;
    return item ? item->brother : nullptr;
}

/// The item after `item`, shown or not.
PtGenTreeItem_t *NextItem(PtGenTreeItem_t *item) {
    if (item->son)
        return item->son;
    while (item && !item->brother)
        item = item->father;
    return item ? item->brother : nullptr;
}

/// Invokes Pt_CB_TREE_STATE; subtype 1 before an expansion, 0 after a collapse. Returns what the callback put into
/// `expand`; `alive` tells whether the item is still in the tree.
int InvokeState(PtWidget_t &tree, PtGenTreeItem_t *item, unsigned long subtype, PhEvent_t *event, bool &alive) {
    PtPin const pin(tree);
    PtTreeCallback_t data{Mode(tree), reinterpret_cast<PtTreeItem_t *>(item), PtVisibleSelected(tree), 0, 0};
    tree.tree->watched.push_back(item);
    PtInvokeCallbacks(tree, Pt_CB_TREE_STATE, subtype, event, &data);
    alive = tree.tree->watched.back() == item;
    tree.tree->watched.pop_back();
    return data.expand;
}

} // namespace

void PtStoreSelected(PtWidget_t &tree, PtGenTreeItem_t *item, bool selected) {
    if (selected) {
        item->list.flags |= Pt_LIST_ITEM_SELECTED;
        tree.tree->selected.insert(item);
    } else {
        item->list.flags &= ~Pt_LIST_ITEM_SELECTED;
        tree.tree->selected.erase(item);
    }
    tree.tree->selected_count = tree.tree->selected.size();
}

void PtStoreClearSelection(PtWidget_t &tree) {
    for (PtGenTreeItem_t *item : tree.tree->selected)
        item->list.flags &= ~Pt_LIST_ITEM_SELECTED;
    tree.tree->selected.clear();
    tree.tree->selected_count = 0;
}

void PtStoreCurrent(PtWidget_t &tree, PtGenTreeItem_t *item) {
    PtGenTreeItem_t *old = std::exchange(tree.tree->current, item);
    if (old)
        old->list.flags &= ~Pt_LIST_ITEM_CURRENT;
    if (item)
        item->list.flags |= Pt_LIST_ITEM_CURRENT;
}

void PtStoreExpanded(PtWidget_t &, PtGenTreeItem_t *item, bool expanded) {
    if (expanded)
        item->list.flags |= Pt_TREE_ITEM_EXPANDED;
    else
        item->list.flags &= ~Pt_TREE_ITEM_EXPANDED;
}

unsigned PtVisibleSelected(PtWidget_t const &tree) {
    return static_cast<unsigned>(std::count_if(tree.tree->selected.begin(), tree.tree->selected.end(), IsVisible));
}

void PtTreeModeChanged(PtWidget_t &widget) {
    unsigned const mode = Mode(widget);
    if (widget.tree->selected_count < 2 || (mode != Pt_SINGLE_MODE && mode != Pt_BROWSE_MODE))
        return;
    PtStoreClearSelection(widget);
    MarkSelection(widget);
}

int PtGenTreeExpand(PtWidget_t *tree, PtGenTreeItem_t *item, PhEvent_t *event) {
    if (!item || !Has(item, Pt_TREE_ITEM_EXPANDABLE))
        return -1;
    if (Has(item, Pt_TREE_ITEM_EXPANDED))
        return 0;
    if (StateOf(tree) && Has(item, Pt_TREE_ITEM_INATREE)) {
        bool alive = false;
        if (int const refused = InvokeState(*tree, item, 1, event, alive); refused != 0 || !alive)
            return refused ? refused : -1;
        tree->tree->expansion_changed = true;
        PtMarkDirty(*tree, kDirtyTree);
    }
    item->list.flags |= Pt_TREE_ITEM_EXPANDED;
    return 0;
}

void PtGenTreeCollapse(PtWidget_t *tree, PtGenTreeItem_t *item, PhEvent_t *event) {
    if (!item || !Has(item, Pt_TREE_ITEM_EXPANDED))
        return;
    item->list.flags &= ~Pt_TREE_ITEM_EXPANDED;
    if (!StateOf(tree) || !Has(item, Pt_TREE_ITEM_INATREE))
        return;
    tree->tree->expansion_changed = true;
    PtMarkDirty(*tree, kDirtyTree);
    bool alive = false;
    InvokeState(*tree, item, 0, event, alive);
}

void PtGenTreeSelect(PtWidget_t *tree, PtGenTreeItem_t *item) {
    if (!item)
        return;
    if (!StateOf(tree) || !Has(item, Pt_TREE_ITEM_INATREE)) {
        item->list.flags |= Pt_LIST_ITEM_SELECTED;
        return;
    }
    unsigned const mode = Mode(*tree);
    if (mode == Pt_SINGLE_MODE || mode == Pt_BROWSE_MODE)
        PtStoreClearSelection(*tree);
    PtStoreSelected(*tree, item, true);
    MarkSelection(*tree);
}

void PtGenTreeUnselect(PtWidget_t *tree, PtGenTreeItem_t *item) {
    if (!item || !Has(item, Pt_LIST_ITEM_SELECTED))
        return;
    item->list.flags &= ~Pt_LIST_ITEM_SELECTED;
    if (!StateOf(tree) || !Has(item, Pt_TREE_ITEM_INATREE))
        return;
    PtStoreSelected(*tree, item, false);
    MarkSelection(*tree);
}

void PtGenTreeClearSelection(PtWidget_t *tree) {
    if (!StateOf(tree) || tree->tree->selected.empty())
        return;
    PtStoreClearSelection(*tree);
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
    PtStoreCurrent(*tree, item);
    MarkSelection(*tree);
    PtGenTreeShow(tree, item);
}

void PtGenTreeDamageItem(PtWidget_t *tree, PtGenTreeItem_t *item) {
    if (!StateOf(tree) || !item || !Has(item, Pt_TREE_ITEM_INATREE))
        return;
    tree->tree->texts_changed = true;
    PtMarkDirty(*tree, kDirtyTree);
}

int PtGenTreeItemIndex(PtWidget_t const *tree, PtGenTreeItem_t const *item) {
    if (!StateOf(tree) || !item || !Has(item, Pt_TREE_ITEM_INATREE) || !IsVisible(item))
        return 0;
    int index = 1;
    for (PtGenTreeItem_t const *each = tree->tree->first; each && each != item; each = NextRow(each))
        index++;
    return index;
}

PtTreeItem_t *PtTreeGetCurrent(PtWidget_t const *tree) {
    return StateOf(tree) ? reinterpret_cast<PtTreeItem_t *>(tree->tree->current) : nullptr;
}

PtTreeItem_t **PtTreeSelectedItems(PtWidget_t const *tree, PtTreeItem_t **buffer) {
    PtTreeState *state = StateOf(tree);
    if (!state || state->selected.empty())
        return nullptr;
    size_t const count = state->selected.size();
    if (!buffer)
        buffer = static_cast<PtTreeItem_t **>(malloc((count + 1) * sizeof *buffer));
    if (!buffer)
        return nullptr;
    size_t found = 0;
    if (count == 1)
        buffer[found++] = reinterpret_cast<PtTreeItem_t *>(*state->selected.begin());
    else
        for (PtGenTreeItem_t *each = state->first; each && found < count; each = NextItem(each))
            if (Has(each, Pt_LIST_ITEM_SELECTED))
                buffer[found++] = reinterpret_cast<PtTreeItem_t *>(each);
    buffer[found] = nullptr;
    return buffer;
}
