#pragma once
// The attachment list of the shown message. Each item's data is a part of the ShownMessage, which owns it.

#include "Ap.h"
#include "message/shown_message.h"
#include "mime/render.h"

#include <string>

/// Keeps what the renderer finds as parts of a message, up to kMostListed.
class PartCollector : public AttachmentSink {
  public:
    /// A part takes 3 KB, a part in a hostile message a few bytes.
    static constexpr int kMostListed = 20'000;

    explicit PartCollector(ShownMessage &message) : message_(message) {}
    void Add(char const *label, PartHeaders const &part) override;
    void ImageNotWritten(char const *path, int reason) override;
    /// True when the message has more than are kept.
    bool LeftOut() const { return leftOut_; }
    /// The path of the first image that could not be written, with its errno; empty when all were.
    std::string const &FailedImage() const { return failedImage_; }
    int FailedReason() const { return failedReason_; }

  private:
    ShownMessage &message_;
    bool leftOut_ = false;
    std::string failedImage_;
    int failedReason_ = 0;
};

/// Lists the parts of the message that SetShownMessage was given in treeAttachments, which is to be empty before.
/// Under the library lock.
void ListAttachments(ShownMessage const &message);

/// Empties treeAttachments. Under the library lock.
void ClearAttachments();

/// Asks where to and saves the selected attachment of the message that commands act on (ChosenMessage); a file that
/// is there is replaced only after another question. A failure is told in lblStatus.
int OnSaveAttachment(PtWidget_t *widget, ApInfo_t *apinfo, PtCallbackInfo_t *cbinfo);

/// Unrealized callback of treeAttachments.
int OnAttachmentsUnrealized(PtWidget_t *widget, ApInfo_t *apinfo, PtCallbackInfo_t *cbinfo);
