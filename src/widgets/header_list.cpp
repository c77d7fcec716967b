#include "widgets/header_list.h"

#include "base/text.h"
#include "names/widgets.h"
#include "widgets/open_profile.h"

#include <algorithm>
#include <cstdlib>
#include <deque>
#include <map>

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

/// The folders that the rows of the list name. Never destroyed: workers may still add rows while the program ends.
std::deque<RowFolder> &Folders() {
    static auto *const folders = new std::deque<RowFolder>;
    return *folders;
}

RowFolder const *OpenFolder() {
    std::deque<RowFolder> &folders = Folders();
    if (folders.empty() || folders.back().account.Get() != currentProfile.Get() ||
        folders.back().name != currentFolder)
        folders.push_back({currentProfile, currentFolder});
    return &folders.back();
}

/// The item after `item` in the order in which a list shows them, what is folded up included.
PtGenTreeItem_t *NextItem(PtGenTreeItem_t *item) {
    if (item->son)
        return item->son;
    while (item && !item->brother)
        item = item->father;
    return item ? item->brother : nullptr;
}

constexpr char kBusy[] = "\u2026";

/// The marks of the rows that workers are busy with, and what stands in their first column otherwise.
struct Mark {
    int count = 0;
    std::string column = {};
};
std::map<uint32_t, Mark> &Marks() {
    static auto *const marks = new std::map<uint32_t, Mark>;
    return *marks;
}

/// Returns what stood there before.
std::string ReplaceFirstColumn(PtTreeItem_t *item, std::string const &column) {
    std::string const text = item->string;
    size_t const end = std::min(text.find('\t'), text.size());
    PtTreeModifyItemString(ABW_treeMessageHeaders, item, (column + text.substr(end)).c_str());
    return text.substr(0, end);
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

HeaderRow MakeHeaderRow(HeaderOrigin origin, int32_t number) {
    static uint32_t lastSerial = 0;
    if (++lastSerial == 0)
        lastSerial = 1;
    return {origin, lastSerial, number, OpenFolder()};
}

RowIdentity IdentityOf(HeaderRow const &row) {
    return {row.folder->account, row.folder->name, static_cast<HeaderOrigin>(row.origin), row.number, row.serial};
}

PtTreeItem_t *FindHeaderRow(uint32_t serial) {
    PtGenTreeItem_t *item = ABW_treeMessageHeaders ? PtGenTreeRootItem(ABW_treeMessageHeaders) : nullptr;
    for (; item; item = NextItem(item)) {
        auto *const row = reinterpret_cast<PtTreeItem_t *>(item);
        if (RowOf(row) && RowOf(row)->serial == serial)
            return row;
    }
    return nullptr;
}

void MarkHeaderRow(uint32_t serial, bool busy) {
    auto const place = Marks().try_emplace(serial).first;
    Mark &mark = place->second;
    mark.count += busy ? 1 : -1;
    PtTreeItem_t *const item = FindHeaderRow(serial);
    if (item && busy && mark.count == 1)
        mark.column = ReplaceFirstColumn(item, kBusy);
    if (mark.count > 0)
        return;
    if (item)
        ReplaceFirstColumn(item, mark.column);
    Marks().erase(place);
}

PtTreeItem_t *AddHeaderItem(char const *text, PtWidget_t *tree, PtTreeItem_t *&previous) {
    return AddItem(AllocItem(text, tree), tree, previous);
}

PtTreeItem_t *AddHeaderRow(char const *text, int width, HeaderOrigin origin, int32_t number, PtWidget_t *tree,
                           PtTreeItem_t *&previous) {
    auto *const row = static_cast<HeaderRow *>(malloc(sizeof(HeaderRow)));
    if (!row)
        return nullptr;
    *row = MakeHeaderRow(origin, number);
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
    Folders().clear();
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
