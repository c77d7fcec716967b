#pragma once
// The Outbox in the header list: a copy comes and goes while its list is open.

#include "compose/send/send.h"

/// Shows or removes the row of the copy, when the header list shows this profile's Outbox. Any thread.
void ShowOutboxChange(std::string const &profile, OutboxChange const &change);
