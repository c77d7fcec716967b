#pragma once
// Which folder or group the main window shows. Changed by the profile tree's selection, cleared when profiles are
// saved or deleted; read and written under the library lock.

#include "base/account.h"

/// A reference to storage that is never destroyed: workers may still look at it while the program ends.
extern AccountRef<ServerAccount> &currentProfile;
extern char currentFolder[1025];

/// The open profile when it is a mail profile, else null.
MailProfile *CurrentMailProfile();

/// The open profile when it is a news profile, else null.
NewsProfile *CurrentNewsProfile();
