#include "compose/send/classic/outbox_copy.h"

#include "base/paths.h"
#include "store/folder.h"
#include "store/message_row.h"

#include <cstring>

OutboxCopy::OutboxCopy(std::string profile)
    : profile_(std::move(profile)), folder_(FolderDirectory(profile_, kOutbox)) {
    int32_t number = 0;
    file_ = Fd(ReserveMessage(folder_.c_str(), number));
    if (!file_.Valid())
        return;
    number_ = number;
    settled_ = false;
}

bool OutboxCopy::Keep(std::string &row) {
    if (settled_)
        return false;
    char bytes[kRowWidth];
    char const *const text = ReadMessageRow(profile_.c_str(), kOutbox, number_, bytes);
    if (UpdateIndexRow(profile_.c_str(), kOutbox, number_, 0, text) == 0)
        row.assign(text, strnlen(text, kRowWidth));
    if (!file_.Reset()) { // the last of it could not be written
        row.clear();
        return false;
    }
    settled_ = true;
    // What could not be delivered is nowhere else.
    return SyncFolder(folder_.c_str(), &number_, 1);
}

void OutboxCopy::Remove() {
    if (settled_)
        return;
    file_.Reset();
    DeleteMessage(folder_.c_str(), number_);
    settled_ = true;
}
