#include "widgets/header_list.h"

#include "base/text.h"
#include "names/widgets.h"

#include <cstdlib>

PtTreeItem_t *lastHeaderItem = nullptr;
unsigned headerListAge = 0;

namespace {

constexpr int kItemTextWidth = 8192;

PtTreeItem_t *AddItem(PtTreeItem_t *item, PtWidget_t *tree, PtTreeItem_t *&previous) {
    if (!item)
        return nullptr;
    if (previous)
        PtTreeAddAfter(tree, item, previous);
    else
        PtTreeAddFirst(tree, item, nullptr);
    previous = item;
    return item;
}

PtTreeItem_t *AllocItem(std::string_view text, PtWidget_t *tree) {
    char bounded[kItemTextWidth];
    CopyText(bounded, text);
    return PtTreeAllocItem(tree, bounded, -1, -1);
}

/// Frees the data of `top` and of all items below it. Threads may be as deep as their authors like, so this goes up
/// by father pointers instead of recursing.
void FreeData(PtGenTreeItem_t *top) {
    PtGenTreeItem_t *item = top;
    while (item) {
        auto *const row = reinterpret_cast<PtTreeItem_t *>(item);
        free(row->data);
        row->data = nullptr;
        if (item->son) {
            item = item->son;
            continue;
        }
        while (item != top && !item->brother)
            item = item->father;
        item = item == top ? nullptr : item->brother;
    }
}

} // namespace

PtTreeItem_t *AddHeaderItem(char const *text, PtWidget_t *tree, PtTreeItem_t *&previous) {
    return AddItem(AllocItem(text, tree), tree, previous);
}

PtTreeItem_t *AddHeaderRow(char const *text, int width, HeaderOrigin origin, int32_t number, PtWidget_t *tree,
                           PtTreeItem_t *&previous) {
    auto *const row = static_cast<HeaderRow *>(malloc(sizeof(HeaderRow)));
    if (!row)
        return nullptr;
    *row = {origin, 0, number};
    PtTreeItem_t *const item = AllocItem(FieldText(text, width < 0 ? 0 : static_cast<size_t>(width)), tree);
    if (!item) {
        free(row);
        return nullptr;
    }
    item->data = row;
    return AddItem(item, tree, previous);
}

void FreeHeaderList() {
    headerListAge++;
    lastHeaderItem = nullptr;
    if (!ABW_treeMessageHeaders)
        return;
    for (PtGenTreeItem_t *item = PtGenTreeRootItem(ABW_treeMessageHeaders); item; item = item->brother)
        FreeData(item);
    PtGenTreeFreeAllItems(ABW_treeMessageHeaders);
}

void RemoveHeaderRow(PtTreeItem_t *item) {
    if (!item || !ABW_treeMessageHeaders)
        return;
    if (item == lastHeaderItem)
        lastHeaderItem = reinterpret_cast<PtTreeItem_t *>(item->gen.list.prev);
    FreeData(&item->gen);
    PtGenTreeRemoveItem(ABW_treeMessageHeaders, &item->gen);
    PtGenTreeFreeItems(&item->gen);
}
