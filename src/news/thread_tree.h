#pragma once
// Finding the row of an article by its Message-ID while headers are threaded.

#include "Pt.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>
#include <vector>

struct ThreadTreeNode {
    ThreadTreeNode *greater; ///< subtree of greater keys
    ThreadTreeNode *smaller; ///< subtree of smaller keys
    char const *key;         ///< Message-ID inside the record of a row
    PtTreeItem_t *item;      ///< that row
};

/// Hangs `fresh`, a node without subtrees, into the tree below `root` (null: an empty one). A key that is there
/// already leaves the tree as it is. Returns the root.
ThreadTreeNode *ThreadTreeInsert(ThreadTreeNode *root, ThreadTreeNode &fresh);

/// The node with this key, null for none.
ThreadTreeNode *ThreadTreeFind(ThreadTreeNode *root, char const *key);

/// What is known of an article's row.
struct ThreadedRow : ThreadTreeNode {
    uint64_t hash;           ///< of the key
    PtTreeItem_t *lastChild; ///< the row's last answer; null for none
};

/// The rows of a list by their Message-IDs. A news server chooses the Message-IDs and their order, so they are spread
/// by a secret hash over many trees, which stay small whatever comes: ascending Message-IDs would make one tree a
/// chain. Keys and rows belong to the list; Clear comes before any use after the list was freed.
class ThreadTree {
  public:
    ThreadTree();

    /// Remembers a row; the first one of a Message-ID stays. False when out of memory.
    bool Insert(char const *key, PtTreeItem_t *item);
    /// The first row that had this Message-ID, null for none. Good until Clear.
    ThreadedRow *Find(char const *key);
    void Clear();
    size_t Size() const { return size_; }

  private:
    uint64_t Hash(std::string_view key) const;
    ThreadTreeNode *&TreeOf(uint64_t hash) { return trees_[hash & (trees_.size() - 1)]; }
    ThreadedRow &NewRow();
    void Spread(size_t trees);

    static constexpr size_t kBlockRows = 1024;
    std::array<uint64_t, 3> secret_;
    std::vector<ThreadTreeNode *> trees_; ///< a power of two of them; empty before the first row
    std::vector<std::unique_ptr<ThreadedRow[]>> blocks_;
    size_t size_ = 0;
};
