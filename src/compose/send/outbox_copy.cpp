#include "compose/send/outbox_copy.h"

#include "base/paths.h"
#include "store/folder.h"
#include "store/message_row.h"

#include <cstring>

OutboxCopy::OutboxCopy(std::string profile, std::string folder)
    : profile_(std::move(profile)), name_(std::move(folder)), folder_(FolderDirectory(profile_, name_)) {
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
    char const *const text = ReadMessageRow(profile_.c_str(), name_.c_str(), number_, bytes);
    if (UpdateIndexRow(profile_.c_str(), name_.c_str(), number_, 0, text) == 0)
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
