#include "compose/outbox_copy.h"

#include "base/paths.h"
#include "store/folder.h"

namespace {

constexpr char kOutbox[] = "Outbox";

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
    UpdateIndexRow(profile_.c_str(), kOutbox, number_, 0, text);
    number_ = 0;
    return true;
}

void OutboxCopy::Remove() {
    if (number_ == 0)
        return;
    file_.Reset();
    DeleteMessage(folder_.c_str(), number_);
    number_ = 0;
}
