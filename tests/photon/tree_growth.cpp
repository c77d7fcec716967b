// Trees that grow while they are shown: rows appended to any level leave the rest of the view as it stands.

#include "photon/fixture.h"

#include "qt/tree_view.h"

#include <QElapsedTimer>
#include <QScrollBar>
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

class GrowingTree : public WindowTest {
  protected:
    void SetUp() override {
        WindowTest::SetUp();
        tree_ = W("treeOne");
        frame_ = dynamic_cast<TreeFrame *>(N<QWidget>("treeOne"));
        ASSERT_TRUE(frame_);
        resets_ = std::make_unique<QSignalSpy>(frame_->model(), &QAbstractItemModel::modelReset);
        Append("", nullptr, nullptr);
        Clear();
    }

    void Clear() {
        PtGenTreeFreeAllItems(tree_);
        PtFlush();
        resets_->clear();
    }

    /// Adds a row behind `last`, or as the first one below `parent` when there is none.
    PtTreeItem_t *Append(std::string const &text, PtTreeItem_t *parent, PtTreeItem_t *last, bool open = false) {
        PtTreeItem_t *item = PtTreeAllocItem(tree_, text.c_str(), -1, -1);
        if (open)
            item->gen.list.flags |= Pt_TREE_ITEM_EXPANDABLE | Pt_TREE_ITEM_EXPANDED;
        EXPECT_EQ(last ? PtTreeAddAfter(tree_, item, last) : PtTreeAddFirst(tree_, item, parent), 0);
        return item;
    }

    /// Runs `add(i)` for each row on a worker, with a flush every 50 rows, until all are added and shown.
    template <class Add> qint64 OnWorker(int rows, Add add) {
        QElapsedTimer clock;
        clock.start();
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
            PtProcessEvent();
        worker.join();
        EXPECT_TRUE(ProcessEventsUntil([&] { return !frame_->model_->Behind(*tree_->tree); }));
        PtFlush();
        EXPECT_EQ(tree_->tree->item_count, static_cast<size_t>(rows));
        EXPECT_EQ(resets_->count(), 0);
        return clock.elapsed();
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

    PtWidget_t *tree_ = nullptr;
    TreeFrame *frame_ = nullptr;
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
    for (int step = 0; step < 3000; step++) {
        Node &node = *all[pick(all.size())];
        switch (size_t const what = pick(40); what) {
        case 0:
            appended_only = appended_only && node.below.empty();
            add(node, 0);
            break;
        case 1:
            if (&node != &root && pick(2)) {
                appended_only = false;
                remove(node);
            }
            break;
        case 2:
        case 3:
        case 4:
            if (&node != &root && (node.item->gen.list.flags & Pt_TREE_ITEM_EXPANDABLE)) {
                node.open = !node.open;
                if (node.open)
                    EXPECT_EQ(PtGenTreeExpand(tree_, &node.item->gen, nullptr), 0);
                else
                    PtGenTreeCollapse(tree_, &node.item->gen, nullptr);
            }
            break;
        case 5:
        case 6:
        case 7: {
            if (what == 7)
                PtFlush();
            else
                ASSERT_TRUE(ProcessEventsUntil([&] { return !(tree_->dirty & kDirtyTree); }));
            // What the budget put off comes at the latest with a row that is to be shown.
            PtGenTreeShow(tree_, PtGenTreeRootItem(tree_));
            Sync();
            std::vector<std::string> expected;
            Expect(root, expected);
            ASSERT_EQ(Shown(), expected) << "step " << step;
            EXPECT_TRUE(!appended_only || resets_->count() == 0) << "step " << step;
            resets_->clear();
            appended_only = true;
            break;
        }
        default:
            add(node, node.below.size());
        }
    }
}

TEST_F(GrowingTree, AnOpenRowThatWasEmptiedShowsItsNextFirstRow) {
    PtTreeItem_t *const open = Append("open", nullptr, nullptr, true);
    PtTreeItem_t *const gone = Append("gone", open, nullptr);
    Sync();
    EXPECT_EQ(Shown(), (std::vector<std::string>{"open", "gone"}));
    PtGenTreeRemoveItem(tree_, &gone->gen);
    PtGenTreeFreeItems(&gone->gen);
    Sync();
    Append("new", open, nullptr);
    PtGenTreeShow(tree_, PtGenTreeRootItem(tree_)); // nothing is put off then
    Sync();
    EXPECT_EQ(Shown(), (std::vector<std::string>{"open", "new"}));
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

TEST_F(GrowingTree, RowsFromAWorkerInThreads) {
    constexpr int kRows = 100'000;
    qint64 flat = 0;
    for (int kind = 0; kind < 4; kind++) {
        Clear();
        PtTreeItem_t *root = nullptr, *last = nullptr; // threads of five
        qint64 const took = OnWorker(kRows, [&](int i) {
            std::string const text = "row " + std::to_string(i) + "\tsize";
            if (kind == 0 || (kind == 3 ? i == 0 : i % 5 == 0))
                root = Append(text, nullptr, root, kind == 2), last = nullptr;
            else
                last = Append(text, root, last);
        });
        flat = kind == 0 ? took : flat;
        size_t const shown[] = {kRows, kRows / 5, kRows, 1};
        EXPECT_EQ(Rows(), shown[kind]);
        char const *const name[] = {"at the root", "in shut threads", "in open threads", "below a shut row"};
        printf("%d rows %s: %lld ms, %.2f times\n", kRows, name[kind], static_cast<long long>(took),
               static_cast<double>(took) / static_cast<double>(std::max<qint64>(flat, 1)));
    }
}

TEST_F(GrowingTree, DeepAndWideFromAWorker) {
    constexpr int kWide = 100'000, kDeep = 30'000;
    for (bool const deep : {false, true}) {
        Clear();
        int const rows = deep ? kDeep : kWide;
        int const shown = std::min(rows, deep ? kDeepestLevel : rows);
        PtTreeItem_t *father = nullptr, *last = nullptr, *deepest = nullptr;
        qint64 const took = OnWorker(rows, [&](int i) {
            PtTreeItem_t *item = Append(std::to_string(i), father, deep ? nullptr : last, deep || i == 0);
            if (deep || i == 0)
                father = item;
            else
                last = item;
            if (i == shown - 1)
                deepest = item;
        });
        EXPECT_EQ(Rows(), static_cast<size_t>(shown));
        QElapsedTimer clock;
        clock.start();
        for (int place = 0; place < 20; place++) {
            frame_->verticalScrollBar()->setValue(place * shown / 20);
            PtFlush();
        }
        qint64 const scrolled = clock.restart();
        PtGenTreeGoto(tree_, &deepest->gen);
        PtFlush();
        EXPECT_EQ(frame_->currentIndex().data().toString().toInt(), shown - 1);
        EXPECT_TRUE(frame_->viewport()->rect().intersects(frame_->visualRect(frame_->currentIndex())));
        PtGenTreeCollapse(tree_, PtGenTreeRootItem(tree_), nullptr);
        EXPECT_TRUE(ProcessEventsUntil([&] { return Rows() == 1; }));
        printf("%d rows %s: %lld ms, scrolled to 20 places %lld ms, to the last and shut %lld ms\n", rows,
               deep ? "below each other" : "below one", static_cast<long long>(took),
               static_cast<long long>(scrolled), static_cast<long long>(clock.elapsed()));
    }
}

} // namespace
