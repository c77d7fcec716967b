#include "news/thread_tree.h"

#include <cstring>
#include <new>
#include <random>

namespace {

constexpr size_t kFirstTrees = 1024;

/// The comparison, exactly -1, 0 or 1.
int Compare(char const *left, char const *right) {
    int const result = strcmp(left, right);
    return result > 0 ? 1 : result < 0 ? -1 : 0;
}

/// Both halves of the product of two numbers, folded.
uint64_t Mix(uint64_t left, uint64_t right) {
    __extension__ using Wide = unsigned __int128;
    Wide const product = static_cast<Wide>(left) * right;
    return static_cast<uint64_t>(product) ^ static_cast<uint64_t>(product >> 64);
}

} // namespace

ThreadTreeNode *ThreadTreeInsert(ThreadTreeNode *root, ThreadTreeNode &fresh) {
    ThreadTreeNode **place = &root;
    while (*place) {
        int const order = Compare(fresh.key, (*place)->key);
        if (order == 0)
            return root;
        place = order == 1 ? &(*place)->greater : &(*place)->smaller;
    }
    *place = &fresh;
    return root;
}

ThreadTreeNode *ThreadTreeFind(ThreadTreeNode *root, char const *key) {
    while (root) {
        int const order = Compare(key, root->key);
        if (order == 0)
            return root;
        root = order == 1 ? root->greater : root->smaller;
    }
    return nullptr;
}

ThreadTree::ThreadTree() {
    std::random_device device;
    for (uint64_t &each : secret_)
        each = (uint64_t{device()} << 32) | device() | 1;
}

uint64_t ThreadTree::Hash(std::string_view key) const {
    uint64_t hash = secret_[0] ^ key.size();
    while (!key.empty()) {
        uint64_t word = 0;
        size_t const taken = key.size() < sizeof word ? key.size() : sizeof word;
        memcpy(&word, key.data(), taken);
        hash = Mix(hash ^ word ^ secret_[1], secret_[2]);
        key.remove_prefix(taken);
    }
    return Mix(hash, secret_[1]);
}

ThreadedRow &ThreadTree::NewRow() {
    if (size_ == blocks_.size() * kBlockRows)
        blocks_.push_back(std::make_unique_for_overwrite<ThreadedRow[]>(kBlockRows));
    return blocks_.back()[size_ % kBlockRows];
}

/// Hangs all rows into so many trees.
void ThreadTree::Spread(size_t trees) {
    std::vector<ThreadTreeNode *>(trees, nullptr).swap(trees_);
    for (size_t i = 0; i < size_; i++) {
        ThreadedRow &row = blocks_[i / kBlockRows][i % kBlockRows];
        row.greater = row.smaller = nullptr;
        ThreadTreeNode *&tree = TreeOf(row.hash);
        tree = ThreadTreeInsert(tree, row);
    }
}

bool ThreadTree::Insert(char const *key, PtTreeItem_t *item) {
    uint64_t const hash = Hash(key);
    if (!trees_.empty() && ThreadTreeFind(TreeOf(hash), key))
        return true;
    try {
        if (size_ == trees_.size())
            Spread(trees_.empty() ? kFirstTrees : trees_.size() * 2);
        ThreadedRow &row = NewRow();
        row = {{nullptr, nullptr, key, item}, hash, nullptr};
        size_++;
        TreeOf(hash) = ThreadTreeInsert(TreeOf(hash), row);
    } catch (std::bad_alloc const &) {
        return false;
    }
    return true;
}

ThreadedRow *ThreadTree::Find(char const *key) {
    return trees_.empty() ? nullptr : static_cast<ThreadedRow *>(ThreadTreeFind(TreeOf(Hash(key)), key));
}

void ThreadTree::Clear() {
    decltype(trees_)().swap(trees_);
    decltype(blocks_)().swap(blocks_);
    size_ = 0;
}
