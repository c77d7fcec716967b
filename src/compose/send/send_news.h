#pragma once
// Posting one article: the groups, the delivery, and what the person is told.

#include "compose/send/send_window.h"

/// Posts the input of a news window through the news profile it names. Runs on the sending thread, without locks. No
/// copy is kept, but where the server lets no one post, which closes the window, the text is appended to the file
/// "unsent" of the profile's directory.
void PostArticle(ComposeState &state, SendInput &input);
