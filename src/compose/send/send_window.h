#pragma once
// What the sending thread reads from its compose window and shows there. All calls take the library lock themselves
// and do nothing for a window that is gone.

#include "compose/compose_state.h"
#include "mime/headers.h"

#include <memory>
#include <string>
#include <utility>
#include <vector>

/// The person's input, as typed.
struct SendInput {
    std::string profile; ///< the chosen profile's name
    std::string to, cc, subject, text;
    std::string references; ///< of the article that is replied to
};

/// Reads the fields. False when the window is gone.
bool ReadSendInput(ComposeState &state, SendInput &input);

/// The attachments, taken out of their items while they are sent: the window may go meanwhile, and its items with it.
class AttachmentLoan {
  public:
    explicit AttachmentLoan(ComposeState &state);
    /// Gives each part back to its item; a part whose item is gone is freed.
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
/// Gives the window back to its person, 450 x 400 large.
void ShowEditing(ComposeState &state);

void SetSendProgress(ComposeState &state, int percent);

/// An alert "Error" / `text` / "&Close"; returns when it is closed. Nothing is shown to a person who has cancelled.
void AlertSender(ComposeState &state, std::string const &text);

/// Destroys the window of a message that was sent.
void CloseSentWindow(ComposeState &state);
