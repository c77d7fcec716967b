#include "compose/send/outbox_list.h"

#include "base/paths.h"
#include "names/widgets.h"
#include "store/folder.h"
#include "widgets/header_list.h"
#include "widgets/open_profile.h"
#include "widgets/toolkit.h"

#include <cstring>

namespace {

/// True when the header list shows this profile's Outbox. Under the library lock.
bool IsOpen(std::string const &profile) {
    ServerAccount const *const open = CurrentMailProfile();
    return ABW_treeMessageHeaders && open && profile == open->name && strcmp(currentFolder, kOutbox) == 0;
}

/// The row of a stored message in the header list; null when it was not there yet at the opening. The newest are
/// last. A check adds rows of the server's messages to whatever folder is open, with numbers of their own.
PtTreeItem_t *FindRow(int32_t number) {
    auto const isIt = [number](HeaderRow const *row) {
        return row && row->origin == kStored && row->number == number;
    };
    PtTreeItem_t *item = lastHeaderItem;
    while (item && !isIt(RowOf(item)))
        item = reinterpret_cast<PtTreeItem_t *>(item->gen.list.prev);
    return item;
}

} // namespace

void ShowOutboxChange(std::string const &profile, OutboxChange const &change) {
    if (change.number == 0)
        return;
    ToolkitGuard const guard;
    if (!IsOpen(profile))
        return;
    // Who opened the Outbox while the message was sent sees it without words so far.
    PtTreeItem_t *const item = FindRow(change.number);
    if (change.row.empty())
        RemoveHeaderRow(item);
    else if (item)
        PtTreeModifyItemString(ABW_treeMessageHeaders, item, change.row.c_str());
    else
        AddHeaderRow(change.row.c_str(), kRowWidth, kStored, change.number, ABW_treeMessageHeaders, lastHeaderItem);
    PtFlush();
}
