#pragma once
// Checking mail the standard way: ReceiveMail for an account, told like any other check.

#include "pop/check_mail.h"

/// CheckMail. Signs in with the account's password wherever that lies, and takes in what is new; a row for each
/// message.
Outcome CheckMailStandard(MailProfile &profile, CheckObserver &observer, StopPredicate const &stopped);
