#include "widgets/close_later.h"

#include "base/thread.h"
#include "net/connection.h"
#include "net/session_lock.h"

void CloseWhenFree(ServerAccount &account, int32_t afterwards) {
    if (account.serverSocket <= 0)
        return;
    if (SessionLock const lock = SessionLock::Try(account); lock.Held()) {
        CloseConnection(account, afterwards);
        return;
    }
    // Without a thread the connection is closed with the account's record.
    StartDetached([used = AccountRef<ServerAccount>(&account), afterwards] {
        SessionLock const lock(*used);
        if (used->serverSocket > 0)
            CloseConnection(*used, afterwards);
    });
}
