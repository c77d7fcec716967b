#include "app/attachments.h"

#include "base/fd.h"
#include "base/paths.h"
#include "base/text.h"
#include "names/widgets.h"
#include "profiles/profile_tree.h"
#include "widgets/header_list.h"
#include "widgets/pictures.h"
#include "widgets/toolkit.h"
#include "widgets/tree_walk.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>

namespace {

PartHeaders *PartOf(PtTreeItem_t const *item) { return item ? static_cast<PartHeaders *>(item->data) : nullptr; }

bool IsListed(PtTreeItem_t const *wanted) {
    PtTreeItem_t const *item = PtTreeRootItem(ABW_treeAttachments);
    while (item && item != wanted)
        item = BrotherOf(item);
    return item;
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
    size_t end = kLongest - extension.size();
    while (end > 1 && (static_cast<unsigned char>(name[end]) & 0xC0) == 0x80)
        end--;
    return std::string(name.substr(0, end)).append(extension);
}

} // namespace

void AttachmentList::Add(char const *label, PartHeaders const &part) {
    if (listed_ > kMostListed)
        return;
    if (listed_++ == kMostListed) {
        SetStatus("The message has more attachments than are listed");
        return;
    }
    PartHeaders *const copy = CopyPart(part);
    if (!copy)
        return;
    PtTreeItem_t *const item = AddHeaderItem(label, ABW_treeAttachments, last_);
    SetRowPicture(item, kAttachmentPicture);
    if (item)
        item->data = copy;
    else
        FreePart(copy);
}

void ClearAttachments() {
    PtWidget_t *const tree = ABW_treeAttachments;
    if (!tree)
        return;
    for (PtTreeItem_t *item = PtTreeRootItem(tree); item; item = BrotherOf(item)) {
        if (PartHeaders *const part = PartOf(item))
            FreePart(part);
        item->data = nullptr;
    }
    PtGenTreeFreeAllItems(tree);
}

std::string ProposedFileName(std::string_view label) {
    if (IsPlainName(label))
        return CutFileName(label);
    std::string_view const last = label.substr(label.rfind('/') + 1);
    return IsPlainName(last) ? CutFileName(last) : "attachment";
}

int OnSaveAttachment(PtWidget_t *, ApInfo_t *, PtCallbackInfo_t *) {
    PtTreeItem_t const *const item = PtTreeGetCurrent(ABW_treeAttachments);
    if (!PartOf(item))
        return Pt_CONTINUE;
    std::string const proposed = HomeDirectory().value_or("") + "/" + ProposedFileName(item->string);
    PtFileSelectionInfo_t info{};
    PtFileSelection(ABW_base, nullptr, "Save Attachment", proposed.c_str(), "*", "Save", "Cancel", nullptr, &info,
                    Pt_FSR_NO_FCHECK | Pt_FSR_CONFIRM_EXISTING);
    // Other callbacks ran while the question was open: the list may show another message by now.
    if (info.ret != Pt_FSDIALOG_BTN1 || !info.path[0] || !IsListed(item))
        return Pt_CONTINUE;
    if (int const reason = SavePart(info.path, *PartOf(item)))
        SetStatus(std::string("Cannot write ") + info.path + ": " + strerror(reason));
    return Pt_CONTINUE;
}

int OnAttachmentsGone(PtWidget_t *, ApInfo_t *, PtCallbackInfo_t *) {
    ClearAttachments();
    return Pt_CONTINUE;
}
