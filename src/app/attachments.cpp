#include "app/attachments.h"

#include "base/fd.h"
#include "base/file_name.h"
#include "base/paths.h"
#include "mime/part_content.h"
#include "names/widgets.h"
#include "widgets/header_list.h"
#include "widgets/pictures.h"
#include "widgets/toolkit.h"
#include "widgets/tree_walk.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>

namespace {

/// The part that an item of the list stands for; null when it is none of the message's.
ShownPart const *PartOf(ShownMessage const &message, PtTreeItem_t const *item) {
    for (ShownPart const &shown : message.parts)
        if (item && item->data == &shown.part)
            return &shown;
    return nullptr;
}

/// Returns 0, or the errno of what failed. Without `replace` a file that is there (or a link) is EEXIST. The reader
/// of a pipe is not waited for.
int SavePart(char const *path, PartHeaders const &part, bool replace) {
    int const mode = replace ? O_TRUNC : O_EXCL;
    Fd file(open(path, O_WRONLY | O_CREAT | O_CLOEXEC | O_NONBLOCK | mode, 0600));
    if (!file.Valid())
        return errno;
    errno = EIO;
    bool const written = WritePartContent(file.Get(), part);
    int const reason = errno;
    if (!written)
        return reason;
    return file.Reset() ? 0 : errno;
}

bool AskToReplace(char const *path) {
    std::string const question = std::string("There is a file of this name already:\n") + path;
    return AskTwo(ABW_base, "Save Attachment", question.c_str(), "&Cancel", "&Replace it");
}

} // namespace

void PartCollector::Add(char const *label, PartHeaders const &part) {
    leftOut_ = message_.parts.size() >= kMostListed;
    if (!leftOut_)
        message_.parts.push_back({label, part});
}

void PartCollector::ImageNotWritten(char const *path, int reason) {
    if (!failedImage_.empty())
        return;
    failedImage_ = path;
    failedReason_ = reason;
}

void ListAttachments(ShownMessage const &message) {
    PtTreeItem_t *last = nullptr;
    for (ShownPart const &shown : message.parts) {
        PtTreeItem_t *const item = AddHeaderItem(shown.label.c_str(), ABW_treeAttachments, last);
        SetRowPicture(item, kAttachmentPicture);
        if (item)
            item->data = const_cast<PartHeaders *>(&shown.part); // the toolkit's pointer; nothing writes through it
    }
}

void ClearAttachments() {
    if (ABW_treeAttachments)
        PtGenTreeFreeAllItems(ABW_treeAttachments);
}

int OnSaveAttachment(PtWidget_t *, ApInfo_t *, PtCallbackInfo_t *) {
    // Other messages may be shown while the question is open: this one is held until it is answered.
    ShownMessageRef const message = ChosenMessage();
    ShownPart const *const shown = message ? PartOf(*message, SelectedItem(ABW_treeAttachments)) : nullptr;
    if (!shown)
        return Pt_CONTINUE;
    std::string const proposed = HomeDirectory().value_or("") + "/" + SafeFileName(shown->label);
    PtFileSelectionInfo_t info{};
    PtFileSelection(ABW_base, nullptr, "Save Attachment", proposed.c_str(), "*", "Save", "Cancel", nullptr, &info,
                    Pt_FSR_NO_FCHECK);
    if (info.ret != Pt_FSDIALOG_BTN1 || !info.path[0])
        return Pt_CONTINUE;
    // The dialog could ask only about what it sees: a link that leads nowhere is there, too, and another program may
    // make the file while the box is open.
    int reason = SavePart(info.path, shown->part, false);
    if (reason == EEXIST && !AskToReplace(info.path))
        return Pt_CONTINUE;
    if (reason == EEXIST)
        reason = SavePart(info.path, shown->part, true);
    if (reason == 0)
        ClearProblem();
    else
        SetProblem(std::string("Cannot write ") + info.path + ": " + strerror(reason));
    return Pt_CONTINUE;
}

int OnAttachmentsUnrealized(PtWidget_t *, ApInfo_t *, PtCallbackInfo_t *) {
    ClearAttachments();
    return Pt_CONTINUE;
}
