// What threads articles: the rows by their Message-IDs, and the range of numbers that is asked for.

#include "news/session/number_list.h"
#include "news/thread_tree.h"
#include "scratch.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <random>
#include <string>
#include <vector>

namespace {

PtTreeItem_t *Item(size_t number) { return reinterpret_cast<PtTreeItem_t *>(number * 16); }

TEST(ThreadTree, FindsAscendingAndRandomKeysWithoutDegenerating) {
    // 100,000 in one unbalanced tree would take minutes.
    std::vector<std::string> keys{"", "\xe4", "m", "c", "x"};
    for (int i = 0; i < 100'000; i++)
        keys.push_back("<" + std::to_string(1'000'000 + i) + ".common@part.example.org>");
    ThreadTree tree;
    for (bool ascending : {true, false}) {
        for (size_t i = 0; i < keys.size(); i++) {
            ASSERT_FALSE(tree.Find(keys[i].c_str()));
            ASSERT_TRUE(tree.Insert(keys[i].c_str(), Item(i)));
            ASSERT_TRUE(tree.Insert(keys[i].c_str(), Item(i + 1))) << "the first row of a key stays";
        }
        ASSERT_EQ(tree.Size(), keys.size());
        for (size_t i = 0; i < keys.size(); i++)
            ASSERT_EQ(tree.Find(keys[i].c_str())->item, Item(i));
        EXPECT_FALSE(tree.Find("m "));
        tree.Clear();
        if (ascending)
            std::shuffle(keys.begin(), keys.end(), std::mt19937(1));
    }
}

TEST(ThreadTree, BytesAbove127AreTheGreatest) {
    ThreadTreeNode nodes[] = {{{}, {}, "m", {}}, {{}, {}, "\xe4", {}}, {{}, {}, "m", {}}};
    ThreadTreeNode *root = nullptr;
    for (ThreadTreeNode &node : nodes)
        root = ThreadTreeInsert(root, node);
    EXPECT_EQ(root, &nodes[0]);
    EXPECT_EQ(root->greater, &nodes[1]);
    EXPECT_FALSE(root->smaller) << "a key that is there stays alone";
}

TEST(NumberList, TheEndOfABatch) {
    Scratch const scratch;
    std::string const path = scratch / "list";
    auto const store = [&](std::vector<int32_t> const &numbers, std::string const &tail = "") {
        std::string_view const bytes(reinterpret_cast<char const *>(numbers.data()), numbers.size() * 4);
        WriteFile(path, std::string(bytes) + tail);
    };
    std::vector<int32_t> numbers;
    for (int i = 0; i < 50'000; i++)
        numbers.push_back(10 + 2 * i);
    store(numbers, "abc");
    struct Case {
        int32_t first, count, end;
    };
    for (Case const &c : std::initializer_list<Case>{{10, 1, 14},
                                                     {10, 2, 14},
                                                     {11, 3, 16},
                                                     {0, 500, 10 + 2 * 499},
                                                     {40'000, 20'000, 80'000},
                                                     {100'000, 500, 100'008},
                                                     {INT32_MAX, 500, 100'008},
                                                     {10, INT32_MAX, 100'008}})
        EXPECT_EQ(EndOfBatch(path, c.first, c.count), c.end) << c.first;
    store({5, 9, 3, -1, 7});
    EXPECT_EQ(EndOfBatch(path, 5, 3), -1); // in the server's order, whatever it is
    store({}, "abc");
    EXPECT_EQ(EndOfBatch(path, 0, 1), std::nullopt);
    remove(path.c_str());
    EXPECT_EQ(EndOfBatch(path, 0, 1), std::nullopt);
}

} // namespace
