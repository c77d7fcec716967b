// Tree items without a view: texts, selection, very long and very deep trees. How rows come, go, open and close is
// compared with a naive model in tree_growth.cpp.

#include "photon/fixture.h"

#include <cstdlib>

namespace {

class Tree : public ToolkitTest {
  protected:
    /// Adds an item named by one letter after `last`, or first below `father`.
    PtTreeItem_t *Add(char letter, PtTreeItem_t *last, PtTreeItem_t *father = nullptr) {
        char const text[] = {letter, 0};
        PtTreeItem_t *const item = PtTreeAllocItem(tree_, text, -1, -1);
        EXPECT_EQ(last ? PtTreeAddAfter(tree_, item, last) : PtTreeAddFirst(tree_, item, father), 0);
        return item;
    }

    PtWidget_t *const tree_ = PtCreateWidget(PtTree, Pt_NO_PARENT, 0, nullptr);
};

TEST_F(Tree, WhatHangsSomewhereIsNeitherAddedNorFreed) {
    PtTreeItem_t *const a = Add('a', nullptr), *const b = Add('b', a), *const m = Add('m', nullptr, b);
    EXPECT_EQ(PtTreeAddFirst(tree_, m, nullptr), -1);
    EXPECT_EQ(PtTreeAddAfter(tree_, a, b), -1);
    EXPECT_EQ(PtGenTreeFreeItems(&m->gen), -1);
    PtGenTreeRemoveItem(tree_, &b->gen);
    EXPECT_EQ(PtGenTreeFreeItems(&m->gen), -1);   // below b
    EXPECT_EQ(PtTreeAddFirst(nullptr, b, m), -1); // below itself
    EXPECT_EQ(PtGenTreeFreeItems(&b->gen), 0);
    EXPECT_EQ(tree_->tree->item_count, 1u);
}

TEST_F(Tree, TextsChangeInPlace) {
    PtTreeItem_t *const item = Add('x', nullptr);
    item->data = this;
    for (std::string const &text : {std::string(5000, 'x'), std::string("tiny"), std::string(9000, 'y')}) {
        EXPECT_EQ(PtTreeModifyItemString(tree_, item, text.c_str()), 0);
        EXPECT_EQ(item->string, text);
    }
    EXPECT_EQ(PtTreeModifyItemString(tree_, item, item->string + 8999), 0);
    EXPECT_STREQ(item->string, "y");
    EXPECT_EQ(PtTreeRootItem(tree_), item);
    EXPECT_EQ(item->data, this);
    EXPECT_TRUE(tree_->tree->texts_changed);
}

TEST_F(Tree, OneItemIsSelectedAndCurrent) {
    PtTreeItem_t *const a = Add('a', nullptr), *const b = Add('b', a), *const c = Add('c', b);
    PtTreeItem_t *const x = Add('x', nullptr, b);
    // The selected one, then the current one.
    auto const chosen = [&] {
        std::string letters;
        PtTreeItem_t **const items = PtTreeSelectedItems(tree_, nullptr);
        for (PtTreeItem_t **item = items; item && *item; item++)
            letters += (*item)->string;
        free(items);
        PtTreeItem_t const *const current = PtTreeGetCurrent(tree_);
        return letters + (current ? current->string : "-");
    };
    EXPECT_EQ(chosen(), "-");
    PtGenTreeSelect(tree_, &c->gen);
    PtGenTreeGoto(tree_, &a->gen);
    EXPECT_EQ(chosen(), "aa");
    PtGenTreeUnselect(tree_, &c->gen);
    EXPECT_EQ(chosen(), "aa");
    PtGenTreeSelect(tree_, &x->gen);
    EXPECT_EQ(chosen(), "x-"); // a row that is not seen
    PtGenTreeExpand(tree_, &b->gen, nullptr);
    EXPECT_EQ(chosen(), "xx");
    PtGenTreeRemoveItem(tree_, &b->gen);
    EXPECT_EQ(chosen(), "-");
    PtGenTreeSelect(nullptr, &b->gen); // outside a tree only a mark
    PtTreeAddFirst(tree_, b, nullptr);
    EXPECT_EQ(chosen(), "bb");
    PtGenTreeClearSelection(tree_);
    EXPECT_EQ(chosen(), "-");
}

TEST_F(Tree, TakesAMillionRowsAndAMillionLevels) {
    constexpr int kRows = 1000000;
    PtTreeItem_t *last = nullptr;
    for (int i = 0; i < kRows; i++)
        last = Add('r', last);
    for (int i = 0; i < kRows / 2; i++) { // from the end, where a search for the row before would be longest
        PtGenTreeItem_t *const item = tree_->tree->last;
        PtGenTreeRemoveItem(tree_, item);
        PtGenTreeFreeItems(item);
    }
    EXPECT_EQ(tree_->tree->item_count, static_cast<size_t>(kRows / 2));
    PtGenTreeFreeAllItems(tree_);
    for (int i = 0; i < kRows; i++)
        last = Add('d', nullptr, i ? last : nullptr);
    PtGenTreeFreeAllItems(tree_);
}

} // namespace
