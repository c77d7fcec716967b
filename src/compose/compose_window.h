#pragma once
// Compose windows: built at run time from the picture module, as many as the user opens.

#include "Ap.h"
#include "base/account.h"
#include "compose/compose_state.h"

/// A compose window as it is made, and while its message is sent: no more than the progress row is seen then.
constexpr PhDim_t kComposeSize{450, 400};
constexpr PhDim_t kSendingSize{450, 45};

/// The kind of compose window that suits the open profile; without one, mail, or news when there are news profiles
/// only.
ComposeKind CurrentComposeKind();

/// True when the profile tree has a profile that messages of this kind can be sent from.
bool HasProfileFor(ComposeKind kind);

/// Builds a window, not shown yet: the caller sets its title and fields, then calls ShowComposeWindow. The state
/// belongs to the window. Null after an alert when there is no profile or no memory. GUI thread, library lock held.
ComposeState *CreateComposeWindow(ComposeKind kind);

/// Sets the title, shows the window and puts the cursor where the user writes first.
void ShowComposeWindow(ComposeState &state, char const *title);

/// The profile chosen in the window, null when it is not there any more. Valid until the profile tree changes.
ServerAccount *ChosenAccount(ComposeState const &state);

/// Closes the window; with a text that was not sent it asks first. A sending thread is cancelled.
void CloseComposeWindow(ComposeState &state);

/// btnCompose: an empty window; in one for news the open group is filled in.
int OnCompose(PtWidget_t *widget, ApInfo_t *apinfo, PtCallbackInfo_t *cbinfo);
