#include "app/timers.h"

#include "app/check_thread.h"
#include "base/paths.h"
#include "base/thread.h"
#include "names/widgets.h"
#include "net/session_lock.h"
#include "news/header_download.h"
#include "pop/mailbox.h"
#include "profiles/profile_tree.h"
#include "widgets/activity.h"
#include "widgets/open_profile.h"
#include "widgets/operation.h"
#include "widgets/toolkit.h"
#include "widgets/tree_walk.h"

#include <cstring>
#include <vector>

namespace {

constexpr int kCheckTickSeconds = 5;
constexpr int kCheckTickMilliseconds = kCheckTickSeconds * 1000;

/// The mail profiles of the tree, held: the tree may be rebuilt while one of them is talked to.
std::vector<AccountRef<ServerAccount>> MailProfiles() {
    std::vector<AccountRef<ServerAccount>> profiles;
    for (PtTreeItem_t *item = PtTreeRootItem(ABW_treeProfiles); item; item = BrotherOf(item))
        if (ServerAccount *const account = ProfileOf(item); account && account->profileKind == kMailProfile)
            profiles.emplace_back(account);
    return profiles;
}

/// A connection whose lock is taken is in use, so it is alive.
void KeepAliveWhenFree(ServerAccount &account) {
    if (SessionLock const lock = SessionLock::Try(account); lock.Held())
        KeepAlive(static_cast<MailProfile &>(account));
}

} // namespace

int OnCheckEmail(PtWidget_t *, ApInfo_t *, PtCallbackInfo_t *) {
    // While dlgNews is open its profile is the open one, and its groups are not settled.
    if (ABW_dlgNews)
        return Pt_CONTINUE;
    // Without an open profile the start finds one or asks for it.
    if (!CurrentNewsProfile())
        StartCheckMailThread();
    else if (strcmp(currentFolder, kInbox) != 0)
        StartNewsThread();
    else
        SetStatus("Choose a newsgroup to read first");
    return Pt_CONTINUE;
}

int OnStop(PtWidget_t *, ApInfo_t *, PtCallbackInfo_t *) {
    StopOperations();
    return Pt_CONTINUE;
}

int OnStopKey(PtWidget_t *, void *, PtCallbackInfo_t *) { return OnStop(nullptr, nullptr, nullptr); }

int OnCheckEmailTimer(PtWidget_t *timer, ApInfo_t *, PtCallbackInfo_t *) {
    MailProfile *const profile = CurrentMailProfile();
    if (!profile || strcmp(currentFolder, kInbox) != 0)
        return Pt_CONTINUE;
    profile->checkCountdown -= kCheckTickSeconds;
    if (profile->checkCountdown >= 0)
        return Pt_CONTINUE;
    // No tick while the start asks something.
    PtSetResource(timer, Pt_ARG_TIMER_REPEAT, 0, 0);
    StartCheckMailThread();
    PtSetResource(timer, Pt_ARG_TIMER_REPEAT, kCheckTickMilliseconds, 0);
    return Pt_CONTINUE;
}

int OnNoopTimer(PtWidget_t *, ApInfo_t *, PtCallbackInfo_t *) {
    // No operation for Stop: it asks nothing of the user and is over in seconds.
    for (AccountRef<ServerAccount> const &profile : MailProfiles())
        if (profile->serverSocket > 0)
            StartDetached([profile] { KeepAliveWhenFree(*profile); });
    return Pt_CONTINUE;
}

int OnAnimationTimer(PtWidget_t *, ApInfo_t *, PtCallbackInfo_t *) {
    static constexpr char const *kFrames[] = {"lblStar1", "lblStar2", "lblStar3", "lblStar4"};
    static unsigned frame = 0;
    ShowStar(kFrames[frame]);
    PtFlush();
    frame = (frame + 1) % 4;
    return Pt_CONTINUE;
}
