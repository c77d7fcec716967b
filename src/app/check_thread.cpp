#include "app/check_thread.h"

#include "app/shown_check.h"
#include "app/waiting_mail.h"
#include "base/text.h"
#include "names/widgets.h"
#include "widgets/activity.h"
#include "widgets/header_list.h"
#include "widgets/open_profile.h"
#include "widgets/operation.h"
#include "widgets/toolkit.h"

#include <atomic>
#include <cstdlib>

namespace {

std::atomic<int> runningChecks{0};

/// The widgets that must not be used during a check: a click into the trees would change what the check fills.
void SetCheckWidgetsBlocked(bool blocked) {
    for (PtWidget_t *widget : {ABW_treeProfiles, ABW_treeMessageHeaders, ABW_btnCheckEmail, ABW_mnuFile_Check})
        SetBlockedBy(kCheckBlocks, widget, blocked);
}

/// Tells the user and blocks the widgets. False when the profile is not open any more.
bool Announce(MailProfile const &profile) {
    ToolkitGuard const guard;
    SetCheckWidgetsBlocked(true);
    SetStatus("Checking Email");
    PtFlush();
    return currentProfile.Get() == &profile;
}

void RunCheck(MailProfile &profile, Stop const &stop) {
    bool const open = Announce(profile);
    if (open) {
        RunShownCheck(profile, stop);
        SendWaitingShown(profile.name, stop);
    }
    ToolkitGuard const guard;
    if (!open) {
        profile.checkWaiting = false;
        EndActivity();
    }
    runningChecks--;
    UnblockCheckWidgets();
    PtFlush();
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

void UnblockCheckWidgets() {
    ToolkitGuard const guard;
    if (runningChecks == 0)
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
    runningChecks++;
    AccountRef<MailProfile> const checked(profile);
    if (StartOperation(OperationKind::kOther, [checked](Stop const &stop) { RunCheck(*checked, stop); }))
        return;
    runningChecks--;
    profile->checkWaiting = false;
    EndActivity();
    SetStatus("The mail check could not be started");
}
