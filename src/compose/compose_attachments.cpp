#include "compose/compose_attachments.h"

#include "base/fd.h"
#include "base/paths.h"
#include "base/text.h"
#include "compose/background_parts.h"
#include "compose/compose_window.h"
#include "compose/forward_part.h"
#include "compose/open_file.h"
#include "mime/content_types.h"
#include "mime/part_content.h"
#include "profiles/profile_tree.h"
#include "widgets/header_list.h"
#include "widgets/pictures.h"
#include "widgets/toolkit.h"
#include "widgets/tree_walk.h"

#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <memory>
#include <string>
#include <sys/stat.h>

namespace {

using Part = std::unique_ptr<PartHeaders, decltype(&FreePart)>;

std::string_view BaseName(std::string_view path) { return path.substr(path.rfind('/') + 1); }

void TellUnreadable(ComposeState const &state, std::string_view name) {
    ShowError(state.window, "Error", ("The file " + std::string(name) + " could not be attached").c_str());
}

/// A cleared record of the file at `path`, its body to come.
Part NewPart(char const *path) {
    Part part(static_cast<PartHeaders *>(calloc(1, sizeof(PartHeaders))), FreePart);
    if (part) {
        CopyText(part->name, BaseName(path));
        CopyText(part->fileName, BaseName(path));
        ContentTypeForFileName(part->contentType, sizeof part->contentType, path);
        ContentTypeForFileName(part->reserved, sizeof part->reserved, path);
        CopyText(part->encoding, "Base64");
    }
    return part;
}

/// A file that is open, to be attached.
struct OpenedFile {
    Fd file;
    size_t size;
    std::string path;
};

/// The file as a part. Null when it cannot be read whole, or has grown while it was read.
PartHeaders *ReadPart(OpenedFile const &opened) {
    Part part = NewPart(opened.path.c_str());
    if (!part)
        return nullptr;
    auto const read = [&](char *to, size_t count) {
        return ReadAll(opened.file.Get(), to, count) == static_cast<long>(count);
    };
    part->body = EncodeInSlices(opened.size, read, part->bodyLength);
    char more;
    return part->body && ReadAll(opened.file.Get(), &more, 1) == 0 ? part.release() : nullptr;
}

void AttachPath(ComposeState &state, char const *path) {
    Fd file(open(path, O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
    struct stat status {};
    bool const readable = file.Valid() && fstat(file.Get(), &status) == 0 && S_ISREG(status.st_mode) &&
                          status.st_size <= static_cast<off_t>(kLargestAttachment);
    if (!readable)
        return TellUnreadable(state, BaseName(path));
    auto const opened = std::make_shared<OpenedFile>(std::move(file), static_cast<size_t>(status.st_size), path);
    AddPartsInBackground(state, {{std::string(BaseName(path)), [opened] { return ReadPart(*opened); }}});
}

/// The item that a command is about, null for none.
PtTreeItem_t *CurrentItem(ComposeState const &state) {
    PtTreeItem_t *const item = state.attachmentList ? PtTreeGetCurrent(state.attachmentList) : nullptr;
    return item && item->data ? item : nullptr;
}

int OnOpenAttachedFile(PtWidget_t *, void *data, PtCallbackInfo_t *) {
    auto &state = *static_cast<ComposeState *>(data);
    PtTreeItem_t const *const item = CurrentItem(state);
    if (!item || OpenPart(*static_cast<PartHeaders *>(item->data)))
        return Pt_CONTINUE;
    ShowError(state.window, "Error", (std::string("Could not open ") + item->string).c_str());
    return Pt_CONTINUE;
}

/// The menu is made at its first use and destroyed with the window.
PtWidget_t *MenuOf(ComposeState &state) {
    if (state.attachmentMenu)
        return state.attachmentMenu;
    PtWidget_t *const before = PtSetParentWidget(nullptr);
    state.attachmentMenu = PtCreateWidget(PtMenu, state.window, 0, nullptr);
    PtArg_t args[2];
    PtSetArg(&args[0], Pt_ARG_TEXT_STRING, "Open", 0);
    PtSetArg(&args[1], Pt_ARG_ACCEL_KEY, "O", 0);
    PtWidget_t *const entry = PtCreateWidget(PtMenuButton, state.attachmentMenu, 2, args);
    PtAddCallback(entry, Pt_CB_ACTIVATE, OnOpenAttachedFile, &state);
    PtSetParentWidget(before);
    return state.attachmentMenu;
}

} // namespace

bool AddAttachedPart(ComposeState &state, char const *label, PartHeaders *part) {
    PtTreeItem_t *const item =
        state.attachmentList ? AddHeaderItem(label, state.attachmentList, state.lastAttachment) : nullptr;
    if (!item) {
        FreePart(part);
        return false;
    }
    item->data = part;
    SetRowPicture(item, kAttachmentPicture);
    PtSetResource(state.attachmentList, Pt_ARG_FLAGS, Pt_TRUE, Pt_GETS_FOCUS);
    return true;
}

void FreeAttachedFiles(ComposeState &state) {
    if (!state.attachmentList)
        return;
    for (PtTreeItem_t *item = PtTreeRootItem(state.attachmentList); item; item = BrotherOf(item)) {
        FreePart(static_cast<PartHeaders *>(item->data));
        item->data = nullptr;
    }
    PtGenTreeFreeAllItems(state.attachmentList);
    state.lastAttachment = nullptr;
}

int OnAttachFile(PtWidget_t *, void *data, PtCallbackInfo_t *) {
    auto &state = *static_cast<ComposeState *>(data);
    ComposeHold const hold(&state);
    std::string const home = HomeDirectory().value_or("");
    PtFileSelectionInfo_t info{};
    PtFileSelection(state.window, nullptr, "Attachment...", home.empty() ? "/" : home.c_str(), "*", "Attach",
                    "Cancel", nullptr, &info, 0);
    // The window may have been closed while the dialog was open.
    if (info.ret == Pt_FSDIALOG_BTN1 && info.path[0] && state.window && !state.sending)
        AttachPath(state, info.path);
    return Pt_CONTINUE;
}

int OnAttachedFilesMenu(PtWidget_t *, void *data, PtCallbackInfo_t *cbinfo) {
    auto &state = *static_cast<ComposeState *>(data);
    PtWidget_t *const menu = CurrentItem(state) ? MenuOf(state) : nullptr;
    if (!menu)
        return Pt_CONTINUE;
    PtPositionMenu(menu, cbinfo->event);
    PtRealizeWidget(menu);
    return Pt_CONTINUE;
}

int OnRemoveAttachedFile(PtWidget_t *, void *data, PtCallbackInfo_t *) {
    auto &state = *static_cast<ComposeState *>(data);
    PtTreeItem_t *const item = CurrentItem(state);
    if (!item || state.sending) // the thread reads the list
        return Pt_CONTINUE;
    if (item == state.lastAttachment)
        state.lastAttachment = reinterpret_cast<PtTreeItem_t *>(item->gen.list.prev);
    FreePart(static_cast<PartHeaders *>(item->data));
    item->data = nullptr;
    PtGenTreeRemoveItem(state.attachmentList, &item->gen);
    PtGenTreeFreeItems(&item->gen);
    if (!PtTreeRootItem(state.attachmentList))
        PtSetResource(state.attachmentList, Pt_ARG_FLAGS, Pt_FALSE, Pt_GETS_FOCUS);
    return Pt_CONTINUE;
}
