// Tree items: making, linking, unlinking and freeing them. Rows are walked through their links, never by recursion:
// a thread of messages may be as deep as it is long.
//
// `list.prev` of an item is its previous brother, so that taking an item out needs no search.

#include "core/state.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <new>
#include <utility>

namespace {

/// The item after `item` in the subtree of `root`, parents first; null at its end.
PtGenTreeItem_t *NextInSubtree(PtGenTreeItem_t const *root, PtGenTreeItem_t *item) {
    if (item->son)
        return item->son;
    while (item != root && !item->brother)
        item = item->father;
    return item == root ? nullptr : item->brother;
}

PtTreeState *StateOf(PtWidget_t *tree) { return tree ? tree->tree.get() : nullptr; }

bool InATree(PtGenTreeItem_t const *item) { return (item->list.flags & Pt_TREE_ITEM_INATREE) != 0; }

/// True when the view may have read the level below an item (null: the roots).
bool Seen(PtGenTreeItem_t const *father) { return !father || (father->list.flags & kPtItemSeen); }

/// A level that the view may have read is no longer what it was, with rows more at its end.
void Restructure(PtTreeState &state) {
    state.generation++;
    state.grown.clear();
}

char *InlineString(PtTreeItem_t *item) { return reinterpret_cast<char *>(item + 1); }

void FreeString(PtTreeItem_t *item) {
    if (item->string != InlineString(item))
        free(item->string);
}

/// Enters one item, and what hangs on it, into the books of a tree.
void Enter(PtWidget_t &tree, PtGenTreeItem_t *item) {
    PtTreeState &state = *tree.tree;
    for (PtGenTreeItem_t *each = item; each; each = NextInSubtree(item, each)) {
        if (!(each->list.flags & Pt_TREE_ITEM_EXPANDABLE))
            each->list.flags &= ~Pt_TREE_ITEM_EXPANDED;
        each->list.flags &= ~(kPtItemSeen | kPtItemGrew);
        each->list.flags |= Pt_TREE_ITEM_INATREE;
        state.item_count++;
        if (each->list.flags & Pt_TREE_ITEM_EXPANDED)
            state.expansion_changed = true;
        if (each->list.flags & Pt_LIST_ITEM_SELECTED) {
            PtStoreCurrent(tree, each);
            state.selection_changed = true;
        }
    }
}

/// Takes one item, and what hangs on it, out of the books of a tree.
void Forget(PtTreeState &state, PtGenTreeItem_t *item) {
    for (PtGenTreeItem_t *each = item; each; each = NextInSubtree(item, each)) {
        if (each == state.current)
            state.current = nullptr;
        if (each == state.show)
            state.show = nullptr;
        each->list.flags &=
            ~(Pt_TREE_ITEM_INATREE | Pt_LIST_ITEM_SELECTED | Pt_LIST_ITEM_CURRENT | kPtItemSeen | kPtItemGrew);
        state.item_count--;
    }
}

PtGenTreeItem_t *Previous(PtGenTreeItem_t const *item) {
    return reinterpret_cast<PtGenTreeItem_t *>(item->list.prev); // the list part is the item's first member
}

void SetPrevious(PtGenTreeItem_t *item, PtGenTreeItem_t *previous) {
    item->list.prev = previous ? &previous->list : nullptr;
}

/// What is about to be added: an item and its following brothers.
struct Chain {
    PtGenTreeItem_t *first = nullptr, *last = nullptr;
    size_t count = 0;
};

/// Measures a chain that is to come below or beside `place`. False when it cannot: it hangs somewhere already, or
/// `place` is part of it.
bool Measure(PtGenTreeItem_t *item, PtGenTreeItem_t const *place, Chain &chain) {
    if (InATree(item) || item->father)
        return false;
    PtGenTreeItem_t const *top = place;
    while (top && !InATree(top) && top->father)
        top = top->father;
    chain.first = item;
    for (PtGenTreeItem_t *each = item; each; each = each->brother) {
        if (each == top)
            return false;
        chain.count++;
        chain.last = each;
    }
    return true;
}

/// Records for the view that a chain was linked in.
void TellView(PtTreeState &state, Chain const &chain, PtGenTreeItem_t *father, PtGenTreeItem_t const *after) {
    if (!Seen(father)) {
        if ((father->list.flags & Pt_TREE_ITEM_EXPANDED) && Seen(father->father))
            state.branches_changed = state.expansion_changed = true; // it was open with nothing below
    } else if (after) {
        Restructure(state);
    } else if (!father) {
        state.appended += chain.count;
    } else if (!(father->list.flags & kPtItemGrew)) {
        father->list.flags |= kPtItemGrew;
        state.grown.push_back(father);
    }
}

/// Links a measured chain between two brothers (either may be null) below `father`; `tree` is null outside
/// of one.
void Link(PtWidget_t *tree, Chain const &chain, PtGenTreeItem_t *father, PtGenTreeItem_t *before,
          PtGenTreeItem_t *after) {
    if (PtGenTreeItem_t *detached = Previous(chain.first)) // the brothers before it stay where they are
        detached->brother = nullptr;
    SetPrevious(chain.first, before);
    chain.last->brother = after;
    if (after)
        SetPrevious(after, chain.last);
    if (before)
        before->brother = chain.first;
    else if (father)
        father->son = chain.first;
    PtTreeState *state = StateOf(tree);
    for (PtGenTreeItem_t *each = chain.first; each != after; each = each->brother) {
        each->father = father;
        if (state)
            Enter(*tree, each);
    }
    if (!state)
        return;
    if (!father) {
        if (!before)
            state->first = chain.first;
        if (!after)
            state->last = chain.last;
        state->root_count += chain.count;
    }
    TellView(*state, chain, father, after);
    PtMarkDirty(*tree, kDirtyTree);
}

/// Unlinks `first` to `last` (brothers) from their level; their links to each other stay.
void Unlink(PtWidget_t *tree, PtGenTreeItem_t *first, PtGenTreeItem_t *last) {
    PtTreeState *state = InATree(first) ? StateOf(tree) : nullptr;
    PtGenTreeItem_t *before = Previous(first), *after = last->brother, *father = first->father;
    if (before)
        before->brother = after;
    else if (father)
        father->son = after;
    if (after)
        SetPrevious(after, before);
    SetPrevious(first, nullptr);
    last->brother = nullptr;
    size_t count = 0;
    for (PtGenTreeItem_t *each = first; each; each = each->brother, count++) {
        each->father = nullptr;
        if (state)
            Forget(*state, each);
    }
    if (!state)
        return;
    if (!father) {
        if (state->first == first)
            state->first = after;
        if (state->last == last)
            state->last = before;
        state->root_count -= count;
    }
    if (Seen(father))
        Restructure(*state);
    if (father && !father->son)
        father->list.flags &= ~kPtItemSeen; // an open one tells of its next first row as if it was never read
    PtMarkDirty(*tree, kDirtyTree);
}

/// Frees a detached item with its following brothers and everything below, sons first.
void FreeChain(PtGenTreeItem_t *item) {
    while (item) {
        if (PtGenTreeItem_t *son = std::exchange(item->son, nullptr)) {
            item = son;
            continue;
        }
        PtGenTreeItem_t *next = item->brother ? item->brother : item->father;
        auto *row = reinterpret_cast<PtTreeItem_t *>(item);
        FreeString(row);
        free(row);
        item = next;
    }
}

/// An image index that the tree has no image for means none.
short ImageIndex(PtWidget_t const *tree, short index) {
    PtValue const *images = tree ? PtValueOf(const_cast<PtWidget_t &>(*tree), Pt_ARG_TREE_IMAGES) : nullptr;
    return images && index >= 0 && index < images->count ? index : static_cast<short>(-1);
}

} // namespace

PtTreeItem_t *PtTreeAllocItem(PtWidget_t const *tree, char const *string, short set_img, short unset_img) {
    std::string_view const text = string ? string : "";
    void *block = malloc(sizeof(PtTreeItem_t) + text.size() + 1);
    if (!block)
        return nullptr;
    auto *item = new (block) PtTreeItem_t{};
    item->attr.img = {ImageIndex(tree, set_img), ImageIndex(tree, unset_img)};
    item->string = InlineString(item);
    memcpy(item->string, text.data(), text.size());
    item->string[text.size()] = 0;
    return item;
}

int PtTreeModifyItemString(PtWidget_t *tree, PtTreeItem_t *item, char const *string) {
    if (!item)
        return -1;
    std::string_view const text = string ? string : "";
    if (text.size() <= strlen(item->string)) {
        memmove(item->string, text.data(), text.size());
        item->string[text.size()] = 0;
    } else {
        auto *larger = static_cast<char *>(malloc(text.size() + 1));
        if (!larger)
            return -1;
        memcpy(larger, text.data(), text.size());
        larger[text.size()] = 0;
        FreeString(item);
        item->string = larger;
    }
    PtGenTreeDamageItem(tree, &item->gen);
    return 0;
}

int PtGenTreeAddFirst(PtWidget_t *tree, PtGenTreeItem_t *item, PtGenTreeItem_t *parent) {
    bool const in_tree = parent ? InATree(parent) : true;
    if (in_tree && !StateOf(tree))
        return -1;
    Chain chain;
    if (item && !Measure(item, parent, chain))
        return -1;
    if (parent && !(parent->list.flags & Pt_TREE_ITEM_EXPANDABLE)) {
        parent->list.flags |= Pt_TREE_ITEM_EXPANDABLE;
        if (in_tree) {
            StateOf(tree)->branches_changed |= Seen(parent->father);
            PtMarkDirty(*tree, kDirtyTree);
        }
    }
    if (item)
        Link(in_tree ? tree : nullptr, chain, parent, nullptr, parent ? parent->son : StateOf(tree)->first);
    return 0;
}

int PtGenTreeAddAfter(PtWidget_t *tree, PtGenTreeItem_t *item, PtGenTreeItem_t *brother) {
    if (!item || !brother || (InATree(brother) && !StateOf(tree)))
        return -1;
    Chain chain;
    if (!Measure(item, brother, chain) || Previous(item) == brother)
        return -1;
    Link(InATree(brother) ? tree : nullptr, chain, brother->father, brother, brother->brother);
    return 0;
}

PtGenTreeItem_t *PtGenTreeRootItem(PtWidget_t const *tree) {
    return tree && tree->tree ? tree->tree->first : nullptr;
}

void PtGenTreeRemoveItem(PtWidget_t *tree, PtGenTreeItem_t *item) {
    if (item && (!InATree(item) || StateOf(tree)))
        Unlink(tree, item, item);
}

int PtGenTreeFreeItems(PtGenTreeItem_t *item) {
    if (!item)
        return 0;
    if (InATree(item) || item->father || item->list.prev)
        return -1;
    FreeChain(item);
    return 0;
}

void PtGenTreeFreeAllItems(PtWidget_t *tree) {
    PtTreeState *state = StateOf(tree);
    if (!state || !state->first)
        return;
    PtGenTreeItem_t *first = state->first;
    Unlink(tree, first, state->last);
    FreeChain(first);
}

void PtFreeTree(PtWidget_t &widget) { PtGenTreeFreeAllItems(&widget); }
