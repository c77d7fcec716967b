#pragma once
// One compose window: its widgets, and what it shares with the thread that sends its text.

#include "Pt.h"

#include <atomic>
#include <cstdint>
#include <string>

/// Kinds of compose windows: mail windows have a Cc field and address-book buttons.
enum ComposeKind { kComposeMail = 1, kComposeReply = 2, kComposeNews = 3 };

/// The state lives as long as its window or a sending thread holds it (RetainCompose, ReleaseCompose). The widget
/// pointers are read and written under the library lock, and are null once the window was closed.
struct ComposeState {
    PtWidget_t *window = nullptr;
    PtWidget_t *sendButton = nullptr;
    PtWidget_t *cancelButton = nullptr;
    PtWidget_t *attachButton = nullptr;
    PtWidget_t *progressBar = nullptr;
    PtWidget_t *profileChooser = nullptr;
    PtWidget_t *toField = nullptr; ///< "To:", for news "Group:"
    PtWidget_t *ccField = nullptr; ///< null for news
    PtWidget_t *subjectField = nullptr;
    PtWidget_t *messageText = nullptr;
    PtWidget_t *attachmentList = nullptr; ///< each item's data is a PartHeaders that owns its encoded body (FreePart)
    PtTreeItem_t *lastAttachment = nullptr;
    PtWidget_t *attachmentMenu = nullptr; ///< null before its first use
    PtWidget_t *toBookButton = nullptr, *ccBookButton = nullptr;
    std::string references; ///< of the article that is replied to
    ComposeKind kind = kComposeMail;
    bool sent = false; ///< the text was sent: closing the window asks nothing

    std::atomic<bool> cancelled = false; ///< set by CancelSending; the sending thread looks at it during every wait
    std::atomic<bool> sending = false;   ///< a thread is at work
    std::atomic<int32_t> holders = 0;    ///< the window and the threads that hold the state
};

void RetainCompose(ComposeState *state);
/// The last one frees the state.
void ReleaseCompose(ComposeState *state);

/// Keeps a state for the length of a scope.
class ComposeHold {
  public:
    explicit ComposeHold(ComposeState *state) : state_(state) { RetainCompose(state); }
    ~ComposeHold() { ReleaseCompose(state_); }
    ComposeHold(ComposeHold const &) = delete;
    ComposeHold &operator=(ComposeHold const &) = delete;

  private:
    ComposeState *state_;
};

/// Cancels the sending thread, whose waits for the network all end within 0.1 s. It unwinds by itself and is not
/// waited for. Under the library lock or not.
void CancelSending(ComposeState &state);
