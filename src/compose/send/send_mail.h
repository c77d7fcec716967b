#pragma once
// Sending one mail: the recipients, the copy in the Outbox, the delivery, and what the person is told.

#include "compose/send/send_window.h"

/// Sends the input of a mail window through the mail profile it names. Runs on the sending thread, without locks.
void SendMail(ComposeState &state, SendInput &input);
