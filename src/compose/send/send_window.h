#pragma once
// What the sending thread reads from its compose window and shows there. All calls take the library lock themselves
// and do nothing for a window that was closed.

#include "compose/compose_state.h"
#include "compose/send/send.h"

#include <string>
#include <utility>
#include <vector>

/// Reads the fields; the attachments are AttachmentLoan's. False when the window was closed.
bool ReadDraft(ComposeState &state, Draft &draft);

/// The attachments, taken out of their items while they are sent: the window may be closed in that time, which frees
/// its items.
class AttachmentLoan {
  public:
    explicit AttachmentLoan(ComposeState &state);
    /// Gives each part back to its item; a part whose item was removed is freed.
    ~AttachmentLoan();
    AttachmentLoan(AttachmentLoan const &) = delete;
    AttachmentLoan &operator=(AttachmentLoan const &) = delete;

    std::vector<PartHeaders const *> Parts() const;

  private:
    ComposeState &state_;
    std::vector<std::pair<PtTreeItem_t *, PartHeaders *>> taken_;
};

/// Blocks everything but Cancel and makes the window as small as its progress row.
void ShowSending(ComposeState &state);
void SetSendProgress(ComposeState &state, int percent);

/// An alert "Error" / `text` / "&Close"; returns when it is closed. Nothing is shown to a user who has cancelled.
void AlertSender(ComposeState &state, std::string const &text);

/// Shows what became of the message and closes its window, or gives it back, 450 x 400 large, after an alert.
void ShowSendResult(ComposeState &state, std::string const &profile, SendResult const &result);
