#include "widgets/tree_walk.h"

#include <cstdlib>
#include <memory>

PtTreeItem_t *SelectedItem(PtWidget_t const *tree) {
    std::unique_ptr<PtTreeItem_t *, void (*)(void *)> const items(PtTreeSelectedItems(tree, nullptr), free);
    return items ? *items : nullptr;
}
