// Trees: rows, selection callbacks, a million rows.

#include "photon/fixture.h"

#include "qt/tree_view.h"

#include <QScrollBar>

namespace {

class Trees : public WindowTest {
  protected:
    void SetUp() override {
        WindowTest::SetUp();
        tree_ = W("treeOne");
        frame_ = dynamic_cast<TreeFrame *>(N<QWidget>("treeOne"));
        ASSERT_TRUE(frame_);
        PtAddCallback(tree_, Pt_CB_TREE_SELECTION, Note, &told_);
    }

    PtTreeItem_t *Add(char const *text) {
        PtTreeItem_t *item = PtTreeAllocItem(tree_, text, -1, -1);
        if (last_)
            PtTreeAddAfter(tree_, item, last_);
        else
            PtTreeAddFirst(tree_, item, nullptr);
        return last_ = item;
    }
    PtTreeItem_t *AddBelow(PtTreeItem_t *parent, char const *text) {
        PtTreeItem_t *item = PtTreeAllocItem(tree_, text, -1, -1);
        PtTreeAddFirst(tree_, item, parent);
        return item;
    }
    QPoint Middle(int row, QModelIndex const &parent = {}) {
        return frame_->visualRect(frame_->model()->index(row, 0, parent)).center();
    }
    void ClickRow(int row, Qt::MouseButton button = Qt::LeftButton) {
        WithoutLock([&] { QTest::mouseClick(frame_->viewport(), button, {}, Middle(row)); });
    }
    QString Cell(int row, int column) {
        return frame_->model()->data(frame_->model()->index(row, column), Qt::DisplayRole).toString();
    }

    PtWidget_t *tree_ = nullptr;
    TreeFrame *frame_ = nullptr;
    PtTreeItem_t *last_ = nullptr;
    std::vector<Told> told_;
};

TEST_F(Trees, ColumnsComeFromTabs) {
    Add("a\tb\tnot shown");
    Add("only");
    Add("caf\xC3\xA9\t\xE9\x01<b>");
    Sync();
    EXPECT_EQ(frame_->model()->columnCount(), 2);
    EXPECT_EQ(frame_->columnWidth(0), 200);
    EXPECT_EQ(Cell(0, 0), QStringLiteral("a"));
    EXPECT_EQ(Cell(0, 1), QStringLiteral("b"));
    EXPECT_EQ(Cell(1, 1), QString());
    EXPECT_EQ(Cell(2, 0), QStringLiteral("caf\u00e9"));
    EXPECT_EQ(Cell(2, 1), QStringLiteral("\u00e9 <b>"));
}

TEST_F(Trees, OneCallbackForEachFinishedClick) {
    PtTreeItem_t *one = Add("one");
    PtTreeItem_t *two = Add("two");
    Sync();
    WithoutLock([&] { QTest::mousePress(frame_->viewport(), Qt::LeftButton, {}, Middle(1)); });
    EXPECT_TRUE(told_.empty());
    WithoutLock([&] { QTest::mouseRelease(frame_->viewport(), Qt::LeftButton, {}, Middle(1)); });
    ASSERT_EQ(told_.size(), 1u);
    EXPECT_EQ(told_[0].event, 4u);
    EXPECT_EQ(told_[0].clicks, 1);
    EXPECT_EQ(told_[0].item, two);
    EXPECT_TRUE(two->gen.list.flags & Pt_LIST_ITEM_SELECTED);
    EXPECT_EQ(PtTreeGetCurrent(tree_), two);
    ClickRow(1); // the same again
    ASSERT_EQ(told_.size(), 2u);
    EXPECT_EQ(told_[1].clicks, 1);
    ClickRow(0); // the first half of a double click
    WithoutLock([&] { QTest::mouseDClick(frame_->viewport(), Qt::LeftButton, {}, Middle(0)); });
    WithoutLock([&] { QTest::mouseRelease(frame_->viewport(), Qt::LeftButton, {}, Middle(0)); });
    ASSERT_EQ(told_.size(), 4u);
    EXPECT_EQ(told_[2].clicks, 1);
    EXPECT_EQ(told_[3].clicks, 2);
    EXPECT_EQ(told_[3].item, one);
    EXPECT_FALSE(two->gen.list.flags & Pt_LIST_ITEM_SELECTED);
    WithoutLock([&] { QTest::mouseClick(frame_->viewport(), Qt::LeftButton, Qt::ControlModifier, Middle(0)); });
    EXPECT_TRUE(one->gen.list.flags & Pt_LIST_ITEM_SELECTED); // not unselected
    size_t const before = told_.size();
    WithoutLock([&] {
        QTest::mouseClick(frame_->viewport(), Qt::LeftButton, {}, QPoint(20, frame_->viewport()->height() - 3));
    });
    EXPECT_EQ(told_.size(), before); // below the rows
}

TEST_F(Trees, KeysCallWithoutClicks) {
    Add("one");
    PtTreeItem_t *two = Add("two");
    Sync();
    ClickRow(0);
    told_.clear();
    Key(frame_, Qt::Key_Down);
    ASSERT_EQ(told_.size(), 1u);
    EXPECT_EQ(told_[0].event, 1u);
    EXPECT_EQ(told_[0].clicks, 0);
    EXPECT_EQ(told_[0].item, two);
    Key(frame_, Qt::Key_Down); // there is no further row
    EXPECT_EQ(told_.size(), 1u);
    Key(frame_, Qt::Key_Return);
    Key(frame_, Qt::Key_Space);
    ASSERT_EQ(told_.size(), 3u);
    EXPECT_EQ(told_[2].event, 1u);
}

TEST_F(Trees, ResetKeepsExpansionAndPlace) {
    for (int i = 0; i < 300; i++)
        Add(("row " + std::to_string(i)).c_str());
    auto *fifth = reinterpret_cast<PtTreeItem_t *>(PtTreeRootItem(tree_)->gen.brother);
    AddBelow(fifth, "child");
    PtGenTreeExpand(tree_, &fifth->gen, nullptr);
    Sync();
    QModelIndex const opened = frame_->model()->index(1, 0);
    EXPECT_TRUE(frame_->isExpanded(opened));
    frame_->verticalScrollBar()->setValue(100);
    PtTreeItem_t *gone = last_;
    PtGenTreeRemoveItem(tree_, &gone->gen);
    PtGenTreeFreeItems(&gone->gen);
    Sync();
    EXPECT_TRUE(frame_->isExpanded(frame_->model()->index(1, 0)));
    EXPECT_EQ(frame_->verticalScrollBar()->value(), 100);
    EXPECT_TRUE(told_.empty());
}

int RefuseExpansion(PtWidget_t *, void *, PtCallbackInfo_t *info) {
    static_cast<PtTreeCallback_t *>(info->cbdata)->expand = 1;
    return Pt_CONTINUE;
}

TEST_F(Trees, ExpandingSelectsNothing) {
    PtTreeItem_t *one = Add("one");
    AddBelow(one, "child");
    Sync();
    QRect const row = frame_->visualRect(frame_->model()->index(0, 0));
    QPoint const decoration(row.left() - frame_->indentation() / 2, row.center().y());
    auto const click = [&] {
        WithoutLock([&] { QTest::mouseClick(frame_->viewport(), Qt::LeftButton, {}, decoration); });
    };
    click();
    EXPECT_TRUE(one->gen.list.flags & Pt_TREE_ITEM_EXPANDED);
    click();
    EXPECT_FALSE(one->gen.list.flags & Pt_TREE_ITEM_EXPANDED);
    PtAddCallback(tree_, Pt_CB_TREE_STATE, RefuseExpansion, nullptr);
    click();
    EXPECT_FALSE(one->gen.list.flags & Pt_TREE_ITEM_EXPANDED);
    EXPECT_FALSE(frame_->isExpanded(frame_->model()->index(0, 0)));
    EXPECT_TRUE(told_.empty());
}

TEST_F(Trees, RightPressMakesTheRowCurrentAndOffersItsMenu) {
    Add("one");
    PtTreeItem_t *two = Add("two");
    std::vector<Told> menu;
    PtAddCallback(tree_, Pt_CB_MENU, Note, &menu);
    PtAddCallback(tree_, Pt_CB_GEN_TREE_INPUT, Note, &menu);
    Sync();
    ClickRow(1, Qt::RightButton);
    EXPECT_EQ(PtTreeGetCurrent(tree_), two);
    EXPECT_TRUE(two->gen.list.flags & Pt_LIST_ITEM_SELECTED);
    ASSERT_EQ(menu.size(), 2u);
    EXPECT_EQ(menu[0].reason, static_cast<unsigned long>(Pt_CB_GEN_TREE_INPUT));
    EXPECT_EQ(menu[1].reason, static_cast<unsigned long>(Pt_CB_MENU));
    EXPECT_EQ(menu[1].event, static_cast<unsigned long>(Ph_EV_BUT_PRESS));
    EXPECT_TRUE(told_.empty());
}

int FreeAll(PtWidget_t *tree, void *, PtCallbackInfo_t *) {
    PtGenTreeFreeAllItems(tree);
    PtTreeItem_t *fresh = PtTreeAllocItem(tree, "fresh", -1, -1);
    PtTreeAddFirst(tree, fresh, nullptr);
    PtFlush();
    return Pt_CONTINUE;
}

TEST_F(Trees, RowsMayGoInTheirOwnCallback) {
    for (int i = 0; i < 10; i++)
        Add("row");
    PtAddCallback(tree_, Pt_CB_TREE_SELECTION, FreeAll, nullptr);
    Sync();
    ClickRow(5);
    WithoutLock([&] { QTest::mouseMove(frame_->viewport(), QPoint(30, 30)); });
    ProcessEventsFor(10);
    EXPECT_EQ(frame_->model()->rowCount(), 1);
    EXPECT_EQ(Cell(0, 0), QStringLiteral("fresh"));
    last_ = PtTreeRootItem(tree_);
}

int DestroyWindow(PtWidget_t *, void *data, PtCallbackInfo_t *) {
    return PtDestroyWidget(static_cast<PtWidget_t *>(data));
}

TEST_F(Trees, TheTreeMayGoInItsOwnCallback) {
    Add("one");
    PtAddCallback(tree_, Pt_CB_TREE_SELECTION, DestroyWindow, window_);
    Sync();
    QPointer<TreeFrame> const frame(frame_);
    ClickRow(0);
    EXPECT_TRUE(PtTopLevels().empty());
    EXPECT_TRUE(ProcessEventsUntil([&] { return frame.isNull(); }));
}

TEST_F(Trees, AMillionRowsOpenAndScroll) {
    for (int i = 0; i < 1'000'000; i++)
        Add("row\tsize");
    PtFlush();
    EXPECT_EQ(frame_->model()->rowCount(), 1'000'000);
    for (int i = 0; i < 100; i++) {
        frame_->verticalScrollBar()->setValue(i * 9'999);
        PtFlush();
    }
    PtGenTreeShow(tree_, &last_->gen);
    PtFlush();
    EXPECT_TRUE(frame_->viewport()->rect().contains(Middle(999'999)));
    PtTreeItem_t *first = PtTreeRootItem(tree_);
    PtGenTreeRemoveItem(tree_, &first->gen);
    PtGenTreeFreeItems(&first->gen);
    PtFlush();
    EXPECT_EQ(frame_->model()->rowCount(), 999'999);
}

} // namespace
