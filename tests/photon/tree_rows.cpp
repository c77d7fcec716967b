// Trees: rows and selection callbacks.

#include "photon/fixture.h"

namespace {

class Trees : public TreeTest {
  protected:
    void SetUp() override {
        TreeTest::SetUp();
        PtAddCallback(tree_, Pt_CB_TREE_SELECTION, Note, &told_);
    }

    PtTreeItem_t *Add(char const *text) { return last_ = Append(text, nullptr, last_); }
    QPoint Middle(int row) { return frame_->visualRect(frame_->model()->index(row, 0)).center(); }
    void ClickRow(int row, Qt::MouseButton button = Qt::LeftButton, Qt::KeyboardModifiers keys = {}) {
        WithoutLock([&] { QTest::mouseClick(frame_->viewport(), button, keys, Middle(row)); });
    }
    QString Cell(int row, int column) {
        return frame_->model()->data(frame_->model()->index(row, column), Qt::DisplayRole).toString();
    }

    PtTreeItem_t *last_ = nullptr;
    std::vector<Told> told_;
};

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
    ClickRow(0, Qt::LeftButton, Qt::ControlModifier);
    EXPECT_TRUE(one->gen.list.flags & Pt_LIST_ITEM_SELECTED); // not unselected
}

// What is not highlighted is not the current item, nor the other way round.
TEST_F(Trees, NothingIsChosenAfterAClickBesideTheRows) {
    Add("one");
    PtTreeItem_t *two = Add("two");
    Sync();
    QPoint const beside(20, frame_->viewport()->height() - 3);
    auto const agree = [&] {
        QModelIndexList const rows = frame_->selectionModel()->selectedRows();
        PtTreeItem_t const *current = PtTreeGetCurrent(tree_);
        EXPECT_EQ(rows.isEmpty() ? nullptr : frame_->model_->Item(rows[0]), current ? &current->gen : nullptr);
        EXPECT_LT(rows.size(), 2);
        return current;
    };
    ClickRow(1);
    WithoutLock([&] { // dragged away from its row
        QTest::mousePress(frame_->viewport(), Qt::LeftButton, {}, Middle(1));
        QTest::mouseMove(frame_->viewport(), beside);
        QTest::mouseRelease(frame_->viewport(), Qt::LeftButton, {}, beside);
    });
    EXPECT_EQ(agree(), two);
    size_t const before = told_.size();
    WithoutLock([&] { QTest::mouseClick(frame_->viewport(), Qt::LeftButton, {}, beside); });
    EXPECT_EQ(agree(), nullptr);
    EXPECT_FALSE(two->gen.list.flags & Pt_LIST_ITEM_SELECTED);
    EXPECT_EQ(told_.size(), before);
    Add("three");
    Sync();
    EXPECT_EQ(agree(), nullptr);
    Key(frame_, Qt::Key_Down);
    EXPECT_TRUE(agree());
}

int FreeAll(PtWidget_t *tree, void *, PtCallbackInfo_t *) {
    PtGenTreeFreeAllItems(tree);
    PtTreeItem_t *fresh = PtTreeAllocItem(tree, "fr\xE9sh\t<b>\x01\tnot shown", -1, -1);
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
    EXPECT_EQ(frame_->model()->columnCount(), 2);
    EXPECT_EQ(Cell(0, 0), QStringLiteral("fr\u00e9sh"));
    EXPECT_EQ(Cell(0, 1), QStringLiteral("<b> "));
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

} // namespace
