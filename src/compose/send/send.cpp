#include "compose/send/send.h"

#include "compose/send/classic/classic_send.h"

Outcome CheckDraft(Draft const &draft) { return ClassicCheck(draft); }

SendResult Send(Draft const &draft, SendProgress const &progress) { return ClassicSend(draft, progress); }
