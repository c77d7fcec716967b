// Trees that grow while they are shown: rows appended to any level leave the rest of the view as it stands.

#include "photon/fixture.h"

#include <QSignalSpy>

#include <memory>
#include <random>
#include <thread>

namespace {

/// What the tree is to be, kept the simplest way.
struct Node {
    PtTreeItem_t *item = nullptr;
    Node *above = nullptr;
    std::string text;
    bool open = false;
    std::vector<std::unique_ptr<Node>> below;
};

class GrowingTree : public TreeTest {
  protected:
    void SetUp() override {
        TreeTest::SetUp();
        resets_ = std::make_unique<QSignalSpy>(frame_->model(), &QAbstractItemModel::modelReset);
        Append("", nullptr, nullptr);
        Clear();
    }

    void Clear() {
        PtGenTreeFreeAllItems(tree_);
        PtFlush();
        resets_->clear();
    }

    /// Runs `add(i)` for each row on a worker, with a flush every 50 rows, until all are added and shown.
    template <class Add> void OnWorker(int rows, Add add) {
        std::atomic<bool> ready = false;
        std::thread worker([&] {
            for (int i = 0; i < rows; i++) {
                PtEnter(0);
                add(i);
                if (i % 50 == 49)
                    PtFlush();
                ready = i + 1 == rows;
                PtLeave(0);
            }
        });
        while (!ready)
            ProcessEventsFor(1);
        worker.join();
        Sync();
        EXPECT_EQ(tree_->tree->item_count, static_cast<size_t>(rows));
        EXPECT_EQ(resets_->count(), 0);
    }

    /// The texts of the rows that the frame shows, from the top.
    std::vector<std::string> Shown() {
        frame_->visualRect({}); // what waits is laid out
        std::vector<std::string> rows;
        for (QModelIndex index = frame_->model()->index(0, 0); index.isValid(); index = frame_->indexBelow(index))
            rows.push_back(index.data().toString().toStdString());
        return rows;
    }
    size_t Rows() { return Shown().size(); }

    std::unique_ptr<QSignalSpy> resets_;
};

void Expect(Node const &node, std::vector<std::string> &rows) {
    for (auto const &each : node.below) {
        rows.push_back(each->text);
        if (each->open)
            Expect(*each, rows);
    }
}

TEST_F(GrowingTree, ShowsWhatANaiveTreeHas) {
    char const *const given = getenv("CORVANTA_SEED"); // repeats a run
    unsigned const seed = given ? static_cast<unsigned>(strtoul(given, nullptr, 10)) : 4102918600;
    printf("CORVANTA_SEED=%u\n", seed);
    std::mt19937 random(seed);
    Node root;
    std::vector<Node *> all{&root};
    bool appended_only = true;
    auto const pick = [&](size_t count) { return std::uniform_int_distribution<size_t>(0, count - 1)(random); };
    auto const add = [&](Node &parent, size_t place) {
        auto node = std::make_unique<Node>();
        node->text = std::to_string(all.size());
        node->above = &parent;
        node->open = pick(3) == 0;
        node->item = Append(node->text, parent.item, place ? parent.below[place - 1]->item : nullptr, node->open);
        all.push_back(node.get());
        parent.below.insert(parent.below.begin() + static_cast<long>(place), std::move(node));
    };
    auto const remove = [&](Node &node) {
        PtGenTreeRemoveItem(tree_, &node.item->gen);
        PtGenTreeFreeItems(&node.item->gen);
        std::vector<Node *> gone{&node};
        for (size_t i = 0; i < gone.size(); i++) {
            std::erase(all, gone[i]);
            for (auto const &each : gone[i]->below)
                gone.push_back(each.get());
        }
        std::erase_if(node.above->below, [&](auto const &each) { return each.get() == &node; });
    };
    auto const open_or_shut = [&](Node &node) {
        node.open = !node.open;
        if (node.open)
            EXPECT_EQ(PtGenTreeExpand(tree_, &node.item->gen, nullptr), 0);
        else
            PtGenTreeCollapse(tree_, &node.item->gen, nullptr);
    };
    auto const compare = [&](bool flush) {
        if (flush)
            PtFlush();
        else
            ASSERT_TRUE(ProcessEventsUntil([&] { return !(tree_->dirty & kDirtyTree); }));
        // What the budget put off comes at the latest with a row that is to be shown.
        PtGenTreeShow(tree_, PtGenTreeRootItem(tree_));
        Sync();
        std::vector<std::string> expected;
        Expect(root, expected);
        ASSERT_EQ(Shown(), expected);
        EXPECT_TRUE(!appended_only || resets_->count() == 0);
        resets_->clear();
        appended_only = true;
    };
    for (int step = 0; step < 3000 && !HasFailure(); step++) {
        Node &node = *all[pick(all.size())];
        size_t const what = pick(40);
        if (what == 0) {
            appended_only = appended_only && node.below.empty();
            add(node, 0);
        } else if (what == 1 && &node != &root && pick(2)) {
            appended_only = false;
            remove(node);
        } else if (what < 5 && &node != &root && (node.item->gen.list.flags & Pt_TREE_ITEM_EXPANDABLE)) {
            open_or_shut(node);
        } else if (what >= 5 && what < 8) {
            compare(what == 7);
        } else if (what >= 8) {
            add(node, node.below.size());
        }
    }
}

TEST_F(GrowingTree, KeepsSelectionCurrentRowAndPlace) {
    std::vector<PtTreeItem_t *> roots;
    for (int i = 0; i < 100; i++)
        roots.push_back(Append("row " + std::to_string(i), nullptr, roots.empty() ? nullptr : roots.back(), i == 3));
    PtTreeItem_t *child = Append("child", roots[3], nullptr);
    PtGenTreeSelect(tree_, &roots[60]->gen);
    PtGenTreeGoto(tree_, &roots[60]->gen);
    Sync();
    resets_->clear();
    auto const top = [&] { return frame_->indexAt({0, 0}).data().toString().toStdString(); };
    std::string const first = top();
    ASSERT_NE(first, "row 0");
    for (int i = 0; i < 10; i++)
        child = Append("child", roots[3], child);
    PtTreeItem_t *below = Append("hidden", roots[5], nullptr);
    Append("row 100", nullptr, roots.back());
    Sync();
    EXPECT_EQ(resets_->count(), 0);
    EXPECT_EQ(Rows(), 112u);
    EXPECT_EQ(top(), first); // though rows came above
    EXPECT_EQ(frame_->currentIndex().row(), 60);
    EXPECT_EQ(frame_->selectionModel()->selectedRows().value(0).row(), 60);
    PtGenTreeShow(tree_, &below->gen); // the row that hides it, which stays shut
    Sync();
    EXPECT_EQ(top(), "row 5");
    EXPECT_EQ(Rows(), 112u);
    // A reset keeps it all.
    PtGenTreeRemoveItem(tree_, &roots[99]->gen);
    PtGenTreeFreeItems(&roots[99]->gen);
    Sync();
    EXPECT_EQ(resets_->count(), 1);
    EXPECT_EQ(top(), "row 5");
    EXPECT_EQ(Rows(), 111u);
    EXPECT_EQ(frame_->currentIndex().row(), 60);
    EXPECT_EQ(frame_->selectionModel()->selectedRows().value(0).row(), 60);
}

TEST_F(GrowingTree, AShownRowGetsItsExpander) {
    PtTreeItem_t *one = Append("one", nullptr, nullptr);
    PtTreeItem_t *two = Append("two", nullptr, one);
    PtTreeItem_t *three = Append("three", nullptr, two, true);
    Sync();
    auto const expander = [&](int row) {
        QRect place = frame_->visualRect(frame_->model()->index(row, 0));
        place.setRect(place.left() - frame_->indentation(), place.top(), frame_->indentation(), place.height());
        return frame_->viewport()->grab(place).toImage();
    };
    QImage const none = expander(0);
    ASSERT_EQ(expander(1), none);
    Append("child", one, nullptr);
    PtGenTreeAddFirst(tree_, nullptr, &two->gen);
    PtTreeItem_t *open = Append("child of an open row", three, nullptr);
    Sync();
    EXPECT_NE(expander(0), none);
    EXPECT_NE(expander(1), none);
    EXPECT_TRUE(frame_->isExpanded(frame_->model()->index(2, 0)));
    EXPECT_EQ(Rows(), 4u);
    Append("another", three, open);
    Sync();
    EXPECT_EQ(Rows(), 5u);
}

TEST_F(GrowingTree, RowsFromAWorker) {
    constexpr int kWide = 30'000, kDeep = 15'000;
    struct Kind {
        char const *name;
        int rows, thread; ///< rows of a thread, 0: one below the other
        bool open;
        size_t shown;
    };
    for (auto const &[name, rows, thread, open, shown] :
         {Kind{"at the root", kWide, 1, false, kWide}, Kind{"in shut threads", kWide, 5, false, kWide / 5},
          Kind{"in open threads", kWide, 5, true, kWide}, Kind{"below a shut row", kWide, kWide, false, 1},
          Kind{"below an open row", kWide, kWide, true, kWide},
          Kind{"below each other", kDeep, 0, true, kDeepestLevel}}) {
        Clear();
        PtTreeItem_t *root = nullptr, *last = nullptr, *at_the_end = nullptr;
        OnWorker(rows, [&, thread = thread, open = open, shown = shown](int i) {
            std::string const text = "row " + std::to_string(i) + "\tsize";
            bool const begins = thread > 0 && i % thread == 0;
            last = begins ? Append(text, nullptr, root, open) : Append(text, root, last, open && thread == 0);
            if (begins || thread == 0)
                root = std::exchange(last, nullptr);
            if (static_cast<size_t>(i) == shown - 1)
                at_the_end = last ? last : root;
        });
        EXPECT_EQ(Rows(), shown) << name;
        if (shown == static_cast<size_t>(rows) || thread == 0) {
            PtGenTreeGoto(tree_, &at_the_end->gen);
            PtFlush();
            EXPECT_EQ(frame_->currentIndex().data().toString(), QStringLiteral("row %1").arg(shown - 1));
            EXPECT_TRUE(frame_->viewport()->rect().intersects(frame_->visualRect(frame_->currentIndex())));
        }
        if (open && thread != 5) {
            PtGenTreeCollapse(tree_, PtGenTreeRootItem(tree_), nullptr);
            EXPECT_TRUE(ProcessEventsUntil([&] { return Rows() == 1; }));
        }
    }
}

} // namespace
