#include "app/attachments.h"

#include "base/fd.h"
#include "base/paths.h"
#include "base/text.h"
#include "base/utf8.h"
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

/// Returns 0, or the errno of what failed; a pipe that nobody reads is not waited for.
int SavePart(char const *path, PartHeaders const &part) {
    Fd file(open(path, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC | O_NONBLOCK, 0600));
    if (!file.Valid())
        return errno;
    errno = EIO;
    bool const written = WritePartContent(file.Get(), part);
    int const reason = errno;
    if (!written)
        return reason;
    return file.Reset() ? 0 : errno;
}

/// What a file system takes of a name that is too long for it: whole characters of UTF-8, and a short extension.
std::string CutFileName(std::string_view name) {
    constexpr size_t kLongest = 255, kLongestExtension = 16;
    if (name.size() <= kLongest)
        return std::string(name);
    size_t const dot = name.rfind('.');
    std::string_view const extension =
        dot != name.npos && name.size() - dot <= kLongestExtension ? name.substr(dot) : std::string_view();
    return std::string(CutToCharacters(name, kLongest - extension.size())).append(extension);
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

std::string ProposedFileName(std::string_view label) {
    if (IsPlainName(label))
        return CutFileName(label);
    std::string_view const last = label.substr(label.rfind('/') + 1);
    return IsPlainName(last) ? CutFileName(last) : "attachment";
}

int OnSaveAttachment(PtWidget_t *, ApInfo_t *, PtCallbackInfo_t *) {
    // Other messages may be shown while the question is open: this one is held until it is answered.
    ShownMessageRef const message = ChosenMessage();
    ShownPart const *const shown = message ? PartOf(*message, SelectedItem(ABW_treeAttachments)) : nullptr;
    if (!shown)
        return Pt_CONTINUE;
    std::string const proposed = HomeDirectory().value_or("") + "/" + ProposedFileName(shown->label);
    PtFileSelectionInfo_t info{};
    PtFileSelection(ABW_base, nullptr, "Save Attachment", proposed.c_str(), "*", "Save", "Cancel", nullptr, &info,
                    Pt_FSR_NO_FCHECK | Pt_FSR_CONFIRM_EXISTING);
    if (info.ret != Pt_FSDIALOG_BTN1 || !info.path[0])
        return Pt_CONTINUE;
    if (int const reason = SavePart(info.path, shown->part))
        SetStatus(std::string("Cannot write ") + info.path + ": " + strerror(reason));
    return Pt_CONTINUE;
}

int OnAttachmentsGone(PtWidget_t *, ApInfo_t *, PtCallbackInfo_t *) {
    ClearAttachments();
    return Pt_CONTINUE;
}
