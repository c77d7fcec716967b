#include "base/text.h"
#include "names/widgets.h"
#include "pop/check_mail.h"
#include "pop/check_widgets.h"
#include "widgets/activity.h"
#include "widgets/header_list.h"
#include "widgets/open_profile.h"
#include "widgets/toolkit.h"

#include <cstdlib>
#include <memory>
#include <pthread.h>

namespace {

std::atomic<int> runningChecks{0};

void SetCheckWidgetsBlocked(bool blocked) {
    for (PtWidget_t *widget : {ABW_treeProfiles, ABW_treeMessageHeaders, ABW_btnCheckEmail, ABW_mnuFile_Check})
        SetBlockedBy(kCheckBlocks, widget, blocked);
}

/// A check on its way to its thread.
struct Check {
    AccountRef<MailProfile> profile;
    PtWidget_t *list;
};

/// Tells the user and blocks the widgets. False when the profile is not open any more.
bool Announce(Check const &check) {
    ToolkitGuard const guard;
    BlockCheckWidgets();
    SetStatus("Checking Email");
    PtFlush();
    return currentProfile.Get() == check.profile.Get();
}

void *RunCheck(void *argument) {
    {
        std::unique_ptr<Check> const check(static_cast<Check *>(argument));
        if (Announce(*check)) {
            CheckMailSession(*check->profile, check->list);
        } else {
            check->profile->checkWaiting = false;
            ToolkitGuard const guard;
            EndActivity();
        }
        ToolkitGuard const guard;
        UnblockCheckWidgets();
        runningChecks--;
        PtFlush();
    }
    return nullptr;
}

bool StartThread(MailProfile &profile) {
    auto check = std::make_unique<Check>(Check{AccountRef<MailProfile>(&profile), ABW_treeMessageHeaders});
    pthread_attr_t attributes;
    if (pthread_attr_init(&attributes) != 0)
        return false;
    pthread_attr_setdetachstate(&attributes, PTHREAD_CREATE_DETACHED);
    pthread_t thread;
    runningChecks++;
    bool const started = pthread_create(&thread, &attributes, RunCheck, check.get()) == 0;
    if (started)
        static_cast<void>(check.release()); // the thread frees it
    else
        runningChecks--;
    pthread_attr_destroy(&attributes);
    return started;
}

MailProfile *FirstMailProfile() {
    PtTreeItem_t *item = ABW_treeProfiles ? PtTreeRootItem(ABW_treeProfiles) : nullptr;
    for (; item; item = reinterpret_cast<PtTreeItem_t *>(item->gen.brother)) {
        auto *const account = static_cast<ServerAccount *>(item->data);
        if (account && account->profileKind != kNewsProfile)
            return static_cast<MailProfile *>(account);
    }
    return nullptr;
}

bool AnythingSelected(PtWidget_t *tree) {
    PtTreeItem_t **const selected = PtTreeSelectedItems(tree, nullptr);
    free(selected);
    return selected;
}

/// The profile to check; null after telling the user what is missing.
MailProfile *ProfileToCheck() {
    MailProfile *const firstMail = FirstMailProfile();
    PtTreeItem_t *const first = ABW_treeProfiles ? PtTreeRootItem(ABW_treeProfiles) : nullptr;
    if (!first || (!currentProfile && !firstMail)) {
        ShowError(ABW_base, "Missing Account Information", "You must first create an email profile");
        return nullptr;
    }
    if (!first->gen.brother && !AnythingSelected(ABW_treeProfiles))
        PtGenTreeSelect(ABW_treeProfiles, &first->gen);
    if (!AnythingSelected(ABW_treeProfiles)) {
        ShowError(ABW_base, "Missing Account Information", "Please select an email profile");
        return nullptr;
    }
    if (!currentProfile) {
        // Rows left from a profile that is not open any more would name, and delete, messages of this one.
        FreeHeaderList();
        currentProfile = AccountRef<ServerAccount>(firstMail);
    }
    return CurrentMailProfile();
}

} // namespace

void BlockCheckWidgets() { SetCheckWidgetsBlocked(true); }

void UnblockCheckWidgets() {
    ToolkitGuard const guard;
    // A failed session unblocks before its own thread has ended: another one counts from two on.
    if (runningChecks <= 1)
        SetCheckWidgetsBlocked(false);
}

int RunningChecks() { return runningChecks; }

void StartCheckMailThread() {
    MailProfile *const profile = ProfileToCheck();
    if (!profile)
        return;
    profile->checkIntervalSeconds = DecimalPrefix(profile->checkInterval);
    profile->checkCountdown = profile->checkIntervalSeconds;
    // One waiting check sees all that a further one would see.
    if (profile->checkWaiting.exchange(true))
        return;
    BeginActivity();
    if (StartThread(*profile))
        return;
    profile->checkWaiting = false;
    EndActivity();
    SetStatus("The mail check could not be started");
}
