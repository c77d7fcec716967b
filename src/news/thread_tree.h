#pragma once
// Finding the row of an article by its Message-ID while headers are threaded.

#include "Pt.h"

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
