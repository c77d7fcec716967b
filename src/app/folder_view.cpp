#include "app/folder_view.h"

#include "app/check_thread.h"
#include "app/folder_rows.h"
#include "app/message_view.h"
#include "base/paths.h"
#include "base/text.h"
#include "names/widgets.h"
#include "news/header_download.h"
#include "profiles/profile_tree.h"
#include "widgets/close_later.h"
#include "widgets/header_list.h"
#include "widgets/open_profile.h"
#include "widgets/operation.h"
#include "widgets/toolkit.h"
#include "widgets/tree_walk.h"

#include <cstring>

namespace {

MailProfile *AsMail(ServerAccount *account) {
    return account && account->profileKind != kNewsProfile ? static_cast<MailProfile *>(account) : nullptr;
}

/// Nothing of the folder that was open stays: rows, message, connection (kept: dropped without a QUIT, and
/// serverSocket is 0 then).
void LeaveFolder() {
    LeaveMessage();
    if (currentProfile) {
        if (MailProfile *const mail = AsMail(currentProfile.Get()))
            mail->checkActive = 0;
        StopOperation(OperationKind::kGroup);
        CloseWhenFree(*currentProfile, 0);
    }
    FreeHeaderList();
}

void OpenMailFolder(MailProfile &profile, bool changed) {
    profile.checkActive = 0;
    if (!AddFolderRows(profile.name, currentFolder))
        return;
    profile.checkCountdown = DecimalPrefix(profile.checkInterval);
    if (changed && strcmp(currentFolder, kInbox) == 0)
        StartCheckMailThread();
}

/// Opens the folder or group that an item of the profile tree stands for, a mail profile's Inbox.
void OpenItem(PtTreeItem_t const *item) {
    AccountRef<ServerAccount> const profile(ProfileOf(item));
    if (!profile)
        return;
    bool const below = FatherOf(item) != nullptr;
    char const *const folder = below ? item->string : kInbox;
    bool changed = strcmp(currentFolder, folder) != 0;
    CopyText(currentFolder, folder);
    bool const otherProfile = profile.Get() != currentProfile.Get();
    if (otherProfile || changed) {
        changed = true;
        LeaveFolder();
    }
    MailProfile *const mail = AsMail(profile.Get());
    // A profile that is opened lists what its server has from the first message on; so does an Inbox whose rows went
    // with the list when another folder was opened.
    bool const rowsLost = changed && mail && mail->LeavesMailOnServer() && strcmp(currentFolder, kInbox) == 0;
    if (mail && (otherProfile || rowsLost))
        mail->serverMessageCount = 0;
    currentProfile = profile;
    // kept: the folder that is open already adds its rows to the list once more.
    if (mail)
        OpenMailFolder(*mail, changed);
    else if (below)
        StartNewsThread();
}

} // namespace

int OnProfileSelected(PtWidget_t *, ApInfo_t *, PtCallbackInfo_t *cbinfo) {
    auto const *const selection = static_cast<PtTreeCallback_t *>(cbinfo->cbdata);
    bool const clicked = cbinfo->event && cbinfo->event->type == Ph_EV_BUT_RELEASE;
    if (clicked && selection->click_count == 1)
        OpenItem(selection->item);
    return Pt_CONTINUE;
}

int OnProfileKey(PtWidget_t *tree, void *, PtCallbackInfo_t *) {
    OpenItem(SelectedItem(tree));
    return Pt_CONTINUE;
}

int OnSubscribe(PtWidget_t *, ApInfo_t *, PtCallbackInfo_t *cbinfo) {
    AccountRef<ServerAccount> const profile(ProfileOf(SelectedItem(ABW_treeProfiles)));
    if (!profile || profile->profileKind != kNewsProfile)
        return Pt_CONTINUE;
    LeaveFolder();
    CopyText(currentFolder, kInbox);
    currentProfile = profile;
    ApCreateModule(&ABM_dlgNews, nullptr, cbinfo);
    return Pt_CONTINUE;
}

int OnProfilesDestroyed(PtWidget_t *widget, ApInfo_t *, PtCallbackInfo_t *) {
    FreeProfileTree(widget);
    return Pt_CONTINUE;
}
