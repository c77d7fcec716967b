// What threads articles: the rows by their Message-IDs, and the range of numbers that is asked for.

#include "news/number_list.h"
#include "news/thread_tree.h"

#include <algorithm>
#include <deque>
#include <fstream>
#include <gtest/gtest.h>
#include <random>
#include <string>
#include <unistd.h>
#include <vector>

namespace {

PtTreeItem_t *Item(size_t number) { return reinterpret_cast<PtTreeItem_t *>(number * 16); }

/// Adds keys in their order, each looked up before and after, and all of them in the end.
void AddAll(std::vector<std::string> const &keys) {
    ThreadTree tree;
    for (size_t i = 0; i < keys.size(); i++) {
        ASSERT_FALSE(tree.Find(keys[i].c_str()));
        ASSERT_TRUE(tree.Insert(keys[i].c_str(), Item(i)));
    }
    ASSERT_EQ(tree.Size(), keys.size());
    for (size_t i = 0; i < keys.size(); i++)
        ASSERT_EQ(tree.Find(keys[i].c_str())->item, Item(i));
}

TEST(ThreadTree, FindsAscendingAndRandomKeysWithoutDegenerating) {
    // 100,000 in one unbalanced tree would take minutes.
    std::vector<std::string> keys;
    for (int i = 0; i < 100'000; i++)
        keys.push_back("<" + std::to_string(1'000'000 + i) + ".common@part.example.org>");
    AddAll(keys);
    std::shuffle(keys.begin(), keys.end(), std::mt19937(1));
    AddAll(keys);
}

TEST(ThreadTree, TheFirstRowOfAKeyStays) {
    ThreadTree tree;
    EXPECT_FALSE(tree.Find("<a>"));
    EXPECT_TRUE(tree.Insert("<a>", Item(1)));
    EXPECT_TRUE(tree.Insert("<a>", Item(2)));
    EXPECT_TRUE(tree.Insert("", Item(3)));
    EXPECT_EQ(tree.Find("<a>")->item, Item(1));
    EXPECT_FALSE(tree.Find("<a> "));
    tree.Clear();
    EXPECT_FALSE(tree.Find("<a>"));
    EXPECT_TRUE(tree.Insert("<a>", Item(2)));
    EXPECT_EQ(tree.Find("<a>")->item, Item(2));
}

TEST(ThreadTree, OneTreeKeepsItsOrder) {
    std::vector<std::string> const keys{"m", "c", "x", "\xe4", "a", "d"};
    std::deque<ThreadTreeNode> nodes;
    ThreadTreeNode *root = nullptr;
    for (std::string const &key : keys)
        root = ThreadTreeInsert(root, nodes.emplace_back(ThreadTreeNode{nullptr, nullptr, key.c_str(), nullptr}));
    ThreadTreeNode twice{nullptr, nullptr, "c", nullptr};
    EXPECT_EQ(ThreadTreeInsert(root, twice), root);
    EXPECT_EQ(root, &nodes[0]);
    EXPECT_EQ(root->smaller, &nodes[1]);
    EXPECT_EQ(root->greater, &nodes[2]);
    EXPECT_EQ(root->greater->greater, &nodes[3]); // bytes above 127 are the greatest
    EXPECT_EQ(root->smaller->smaller, &nodes[4]);
    EXPECT_EQ(root->smaller->greater, &nodes[5]);
    EXPECT_EQ(ThreadTreeFind(root, "d"), &nodes[5]);
    EXPECT_FALSE(ThreadTreeFind(root, "b"));
}

TEST(NumberList, TheEndOfABatch) {
    std::string const path = testing::TempDir() + "number_list_" + std::to_string(getpid());
    auto const store = [&](std::vector<int32_t> const &numbers, size_t extra = 0) {
        std::ofstream file(path, std::ios::binary);
        file.write(reinterpret_cast<char const *>(numbers.data()), static_cast<std::streamsize>(numbers.size() * 4));
        file.write("abc", static_cast<std::streamsize>(extra));
    };
    std::vector<int32_t> numbers;
    for (int i = 0; i < 50'000; i++)
        numbers.push_back(10 + 2 * i);
    store(numbers, 3);
    EXPECT_EQ(EndOfBatch(path, 10, 1), 14);
    EXPECT_EQ(EndOfBatch(path, 10, 2), 14);
    EXPECT_EQ(EndOfBatch(path, 11, 3), 16);
    EXPECT_EQ(EndOfBatch(path, 0, 500), 10 + 2 * 499);
    EXPECT_EQ(EndOfBatch(path, 40'000, 20'000), 80'000);
    EXPECT_EQ(EndOfBatch(path, 100'000, 500), 100'008);
    EXPECT_EQ(EndOfBatch(path, INT32_MAX, 500), 100'008);
    EXPECT_EQ(EndOfBatch(path, 10, INT32_MAX), 100'008);
    store({5, 9, 3, -1, 7});
    EXPECT_EQ(EndOfBatch(path, 5, 3), -1); // in the server's order, whatever it is
    store({}, 3);
    EXPECT_EQ(EndOfBatch(path, 0, 1), std::nullopt);
    remove(path.c_str());
    EXPECT_EQ(EndOfBatch(path, 0, 1), std::nullopt);
}

} // namespace
