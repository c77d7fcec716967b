#pragma once
// The attachment list of the shown message. Each item's data is a copy of its part, which the item owns.

#include "Ap.h"
#include "mime/render.h"

#include <string>
#include <string_view>

/// Adds what the renderer finds to treeAttachments, which is to be empty before, up to kMostListed; a message of more
/// is told of in lblStatus, and its source has them all. Under the library lock.
class AttachmentList : public AttachmentSink {
  public:
    /// An item takes 3 KB, a part in a hostile message a few bytes.
    static constexpr int kMostListed = 20'000;

    void Add(char const *label, PartHeaders const &part) override;

  private:
    PtTreeItem_t *last_ = nullptr;
    int listed_ = 0;
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
