#include "compose/send/outbox_copy.h"

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

/// Who looks at the Outbox sees the message come: it is listed without words once its number is handed out.
void ShowRow(std::string const &profile, int32_t number, char const *row) {
    ToolkitGuard const guard;
    if (!IsOpen(profile))
        return;
    std::string const text(row, strnlen(row, kRowWidth));
    if (PtTreeItem_t *const item = FindRow(number))
        PtTreeModifyItemString(ABW_treeMessageHeaders, item, text.c_str());
    else
        AddHeaderRow(text.c_str(), kRowWidth, kStored, number, ABW_treeMessageHeaders, lastHeaderItem);
    PtFlush();
}

void HideRow(std::string const &profile, int32_t number) {
    ToolkitGuard const guard;
    if (IsOpen(profile))
        RemoveHeaderRow(FindRow(number));
}

} // namespace

OutboxCopy::OutboxCopy(std::string profile)
    : profile_(std::move(profile)), folder_(FolderDirectory(profile_, kOutbox)) {
    int32_t number = 0;
    file_ = Fd(ReserveMessage(folder_.c_str(), number));
    if (file_.Valid())
        number_ = number;
}

bool OutboxCopy::Keep() {
    if (number_ == 0)
        return false;
    if (!file_.Reset()) {
        Remove();
        return false;
    }
    char row[kRowWidth];
    char const *const text = ReadMessageRow(profile_.c_str(), kOutbox, number_, row);
    if (UpdateIndexRow(profile_.c_str(), kOutbox, number_, 0, text) == 0)
        ShowRow(profile_, number_, text);
    // What could not be delivered is nowhere else.
    bool const safe = SyncFolder(folder_.c_str(), &number_, 1);
    number_ = 0;
    return safe;
}

void OutboxCopy::Remove() {
    if (number_ == 0)
        return;
    file_.Reset();
    DeleteMessage(folder_.c_str(), number_);
    HideRow(profile_, number_);
    number_ = 0;
}
