// Tree items: adding, removing, freeing, expanding, selecting.

#include "photon/fixture.h"

#include <cstdlib>

namespace {

class Tree : public ToolkitTest {
  protected:
    PtGenTreeItem_t *Item(char const *text) { return &PtTreeAllocItem(tree_, text, -1, -1)->gen; }
    /// A detached list of items, one for each letter.
    PtGenTreeItem_t *List(char const *letters) {
        PtGenTreeItem_t *first = nullptr, *last = nullptr;
        for (; *letters; letters++) {
            PtGenTreeItem_t *item = Item(std::string(1, *letters).c_str());
            if (last) {
                EXPECT_EQ(PtGenTreeAddAfter(nullptr, item, last), 0);
            }
            last = item;
            first = first ? first : item;
        }
        return first;
    }
    PtGenTreeItem_t *Find(char letter) const { return FindIn(PtGenTreeRootItem(tree_), letter); }
    static PtGenTreeItem_t *FindIn(PtGenTreeItem_t *item, char letter) {
        PtGenTreeItem_t *found = nullptr;
        for (; item && !found; item = item->brother)
            found = Text(item)[0] == letter ? item : FindIn(item->son, letter);
        return found;
    }
    static char const *Text(PtGenTreeItem_t const *item) {
        return reinterpret_cast<PtTreeItem_t const *>(item)->string;
    }
    /// The tree in letters, "a(bc)d", its links and counts checked on the way.
    std::string Shape() const {
        size_t total = 0, roots = 0;
        for (PtGenTreeItem_t *item = tree_->tree->first; item; item = item->brother, roots++)
            EXPECT_EQ(item->brother == nullptr, item == tree_->tree->last);
        std::string const shape = Level(tree_->tree->first, nullptr, total);
        EXPECT_EQ(total, tree_->tree->item_count);
        EXPECT_EQ(roots, tree_->tree->root_count);
        return shape;
    }
    static std::string Level(PtGenTreeItem_t *item, PtGenTreeItem_t *father, size_t &total) {
        std::string shape;
        for (PtGenTreeItem_t *previous = nullptr; item; previous = item, item = item->brother) {
            EXPECT_EQ(item->father, father);
            EXPECT_EQ(reinterpret_cast<PtGenTreeItem_t *>(item->list.prev), previous);
            EXPECT_TRUE(item->list.flags & Pt_TREE_ITEM_INATREE);
            total++;
            shape += Text(item);
            if (item->son)
                shape += '(' + Level(item->son, item, total) + ')';
        }
        return shape;
    }

    PtWidget_t *const tree_ = PtCreateWidget(PtTree, Pt_NO_PARENT, 0, nullptr);
};

TEST_F(Tree, AddsAnItemWithItsFollowingBrothers) {
    EXPECT_EQ(PtGenTreeAddFirst(tree_, List("cd"), nullptr), 0);
    EXPECT_EQ(PtGenTreeAddFirst(tree_, List("ab"), nullptr), 0);
    EXPECT_EQ(PtGenTreeAddAfter(tree_, List("xyz"), Find('b')), 0);
    EXPECT_EQ(PtGenTreeAddFirst(tree_, List("mn"), Find('y')), 0);
    EXPECT_EQ(PtGenTreeAddAfter(tree_, List("o"), Find('n')), 0);
    EXPECT_EQ(PtGenTreeAddAfter(tree_, List("ef"), Find('d')), 0);
    EXPECT_EQ(Shape(), "abxy(mno)zcdef");
    EXPECT_TRUE(Find('y')->list.flags & Pt_TREE_ITEM_EXPANDABLE);
    EXPECT_FALSE(Find('a')->list.flags & Pt_TREE_ITEM_EXPANDABLE);
    EXPECT_EQ(PtGenTreeAddFirst(tree_, nullptr, Find('a')), 0); // only makes it expandable
    EXPECT_TRUE(Find('a')->list.flags & Pt_TREE_ITEM_EXPANDABLE);

    EXPECT_EQ(PtGenTreeAddFirst(tree_, Find('m'), nullptr), -1); // in a tree already
    EXPECT_EQ(PtGenTreeAddAfter(tree_, Find('a'), Find('b')), -1);
    PtGenTreeItem_t *list = List("pqr");
    EXPECT_EQ(PtGenTreeAddAfter(nullptr, list, Find('a')), -1);     // which tree?
    EXPECT_EQ(PtGenTreeAddFirst(nullptr, list, list->brother), -1); // below itself
    EXPECT_EQ(PtGenTreeAddFirst(tree_, list->brother, nullptr), 0); // leaves p behind
    EXPECT_EQ(Shape(), "qrabxy(mno)zcdef");
    EXPECT_EQ(list->brother, nullptr);
    EXPECT_EQ(PtGenTreeFreeItems(list), 0);
}

TEST_F(Tree, RemovesAnItemWithWhatIsBelow) {
    PtGenTreeAddFirst(tree_, List("abcd"), nullptr);
    PtGenTreeAddFirst(tree_, List("xyz"), Find('b'));
    PtGenTreeAddFirst(tree_, List("m"), Find('y'));
    PtGenTreeItem_t *y = Find('y'), *b = Find('b'), *d = Find('d');
    EXPECT_EQ(PtGenTreeFreeItems(y), -1); // still in a tree
    PtGenTreeRemoveItem(tree_, y);
    EXPECT_EQ(Shape(), "ab(xz)cd");
    EXPECT_EQ(y->father, nullptr);
    EXPECT_EQ(y->brother, nullptr);
    EXPECT_EQ(PtGenTreeFreeItems(y->son), -1); // part of a list
    EXPECT_EQ(PtGenTreeAddAfter(tree_, y, d), 0);
    EXPECT_EQ(Shape(), "ab(xz)cdy(m)");
    for (char letter : {'a', 'y', 'x', 'z'}) {
        PtGenTreeItem_t *item = Find(letter);
        PtGenTreeRemoveItem(tree_, item);
        EXPECT_EQ(PtGenTreeFreeItems(item), 0);
    }
    EXPECT_EQ(Shape(), "bcd");
    EXPECT_TRUE(b->list.flags & Pt_TREE_ITEM_EXPANDABLE); // never cleared by itself
    PtGenTreeFreeAllItems(tree_);
    EXPECT_EQ(PtGenTreeRootItem(tree_), nullptr);
}

TEST_F(Tree, TextsChangeInPlace) {
    auto *item = reinterpret_cast<PtTreeItem_t *>(Item("short"));
    PtTreeAddFirst(tree_, item, nullptr);
    item->data = this;
    EXPECT_EQ(PtTreeModifyItemString(tree_, item, std::string(5000, 'x').c_str()), 0);
    EXPECT_EQ(PtTreeRootItem(tree_), item);
    EXPECT_EQ(strlen(item->string), 5000u);
    EXPECT_EQ(PtTreeModifyItemString(tree_, item, "tiny"), 0);
    EXPECT_STREQ(item->string, "tiny");
    EXPECT_EQ(PtTreeModifyItemString(tree_, item, item->string + 1), 0);
    EXPECT_STREQ(item->string, "iny");
    EXPECT_EQ(PtTreeModifyItemString(tree_, item, std::string(9000, 'y').c_str()), 0);
    EXPECT_EQ(item->data, this);
    EXPECT_TRUE(tree_->tree->texts_changed);
}

TEST_F(Tree, OneItemIsSelectedAndCurrent) {
    PtGenTreeAddFirst(tree_, List("abcd"), nullptr);
    PtGenTreeAddFirst(tree_, List("x"), Find('b'));
    // The selected one, and behind it the current one.
    auto const chosen = [&] {
        std::string letters;
        PtTreeItem_t **items = PtTreeSelectedItems(tree_, nullptr);
        for (PtTreeItem_t **item = items; item && *item; item++)
            letters += (*item)->string;
        free(items);
        PtTreeItem_t const *current = PtTreeGetCurrent(tree_);
        return letters + (current ? current->string : "-");
    };
    EXPECT_EQ(chosen(), "-");
    PtGenTreeSelect(tree_, Find('c'));
    PtGenTreeGoto(tree_, Find('a'));
    EXPECT_EQ(chosen(), "aa");
    PtGenTreeUnselect(tree_, Find('c'));
    EXPECT_EQ(chosen(), "aa");
    PtGenTreeSelect(tree_, Find('x'));
    EXPECT_EQ(chosen(), "x-"); // nobody sees that it is
    PtGenTreeExpand(tree_, Find('b'), nullptr);
    EXPECT_EQ(chosen(), "xx");
    PtGenTreeItem_t *b = Find('b');
    PtGenTreeRemoveItem(tree_, b);
    EXPECT_EQ(chosen(), "-");
    PtGenTreeSelect(nullptr, b); // outside a tree only a mark
    PtGenTreeAddFirst(tree_, b, nullptr);
    EXPECT_EQ(chosen(), "bb");
    PtGenTreeClearSelection(tree_);
    EXPECT_EQ(chosen(), "-");
}

TEST_F(Tree, TakesAMillionRowsAndAMillionLevels) {
    constexpr int kRows = 1000000;
    PtGenTreeItem_t *last = Item("row");
    PtGenTreeAddFirst(tree_, last, nullptr);
    for (int i = 1; i < kRows; i++) {
        PtGenTreeItem_t *item = Item("row");
        PtGenTreeAddAfter(tree_, item, last);
        last = item;
    }
    EXPECT_EQ(tree_->tree->root_count, static_cast<size_t>(kRows));
    for (int i = 0; i < kRows / 2; i++) { // from the end, where a search for the row before would be longest
        PtGenTreeItem_t *item = tree_->tree->last;
        PtGenTreeRemoveItem(tree_, item);
        PtGenTreeFreeItems(item);
    }
    EXPECT_EQ(tree_->tree->item_count, static_cast<size_t>(kRows / 2));
    PtGenTreeFreeAllItems(tree_);
    PtGenTreeItem_t *father = Item("deep");
    PtGenTreeAddFirst(tree_, father, nullptr);
    for (int i = 1; i < kRows; i++) {
        PtGenTreeItem_t *son = Item("deep");
        PtGenTreeAddFirst(tree_, son, father);
        father = son;
    }
    PtGenTreeFreeAllItems(tree_);
}

} // namespace
