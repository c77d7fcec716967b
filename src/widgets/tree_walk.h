#pragma once
// Walking the items of a tree. All calls under the library lock.

#include "Pt.h"

/// The item above, null at the root level.
inline PtTreeItem_t *FatherOf(PtTreeItem_t const *item) { return reinterpret_cast<PtTreeItem_t *>(item->gen.father); }
inline PtTreeItem_t *BrotherOf(PtTreeItem_t const *item) {
    return reinterpret_cast<PtTreeItem_t *>(item->gen.brother);
}
inline PtTreeItem_t *SonOf(PtTreeItem_t const *item) { return reinterpret_cast<PtTreeItem_t *>(item->gen.son); }

/// The selected item of a tree that selects one at a time, null for none.
PtTreeItem_t *SelectedItem(PtWidget_t const *tree);
