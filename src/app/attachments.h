#pragma once
// The attachment list of the shown message. Each item's data is a copy of its part, which the item owns.

#include "Ap.h"
#include "mime/render.h"

#include <string>
#include <string_view>

/// Adds what the renderer finds to treeAttachments, which is to be empty before. Under the library lock.
class AttachmentList : public AttachmentSink {
  public:
    void Add(char const *label, PartHeaders const &part) override;

  private:
    PtTreeItem_t *last_ = nullptr;
};

/// Frees the parts and items of treeAttachments.
void ClearAttachments();

/// The file name proposed for an attachment: a plain label as it is, of any other the last path component,
/// "attachment" when that is no plain name either; cut to 255 bytes, a short extension kept.
std::string ProposedFileName(std::string_view label);

/// Asks where to and saves the current attachment; a failure is told in lblStatus.
int OnSaveAttachment(PtWidget_t *widget, ApInfo_t *apinfo, PtCallbackInfo_t *cbinfo);

/// Unrealized callback of treeAttachments.
int OnAttachmentsGone(PtWidget_t *widget, ApInfo_t *apinfo, PtCallbackInfo_t *cbinfo);
