#include "app/waiting_mail.h"

#include "base/way.h"
#include "compose/send/standard/standard_send.h"
#include "names/widgets.h"
#include "profiles/profile_tree.h"
#include "state/waiting.h"
#include "widgets/certificate_box.h"
#include "widgets/operation.h"
#include "widgets/toolkit.h"
#include "widgets/tree_walk.h"

#include <vector>

namespace {

std::string Messages(int count) { return std::to_string(count) + (count == 1 ? " message" : " messages"); }

/// The names of all mail profiles. Under the library lock.
std::vector<std::string> MailProfiles() {
    std::vector<std::string> names;
    for (PtTreeItem_t const *item = PtTreeRootItem(ABW_treeProfiles); item; item = BrotherOf(item))
        if (ServerAccount const *const account = ProfileOf(item); account && account->profileKind == kMailProfile)
            names.emplace_back(account->name);
    return names;
}

} // namespace

void SendWaitingShown(std::string const &profile, StopPredicate const &stopped) {
    if (Classic() || WaitingMessages(profile).empty())
        return;
    SetStatus("Sending what waits in the Outbox");
    SendProgress const progress{.percent = SetProgress,
                                .tell =
                                    [](std::string const &text) {
                                        ToolkitGuard const guard;
                                        ShowError(ABW_base, "Sending", text.c_str());
                                    },
                                .stopped = stopped,
                                .accept = AskToAcceptCertificate};
    WaitingResult const result = SendWaiting(profile, progress);
    SetProgress(0);
    std::string text = result.sent > 0 ? Messages(result.sent) + " sent" : "";
    if (result.left > 0)
        text += (text.empty() ? "" : ", ") + Messages(result.left) + " left in the Outbox";
    if (!result.problem.empty())
        text += ": " + result.problem.substr(0, result.problem.find('\n'));
    SetStatus(text);
}

int OnSendWaiting(PtWidget_t *, ApInfo_t *, PtCallbackInfo_t *) {
    if (Classic())
        return Pt_CONTINUE;
    StartOperation(OperationKind::kOther, [names = MailProfiles()](Stop const &stop) {
        for (std::string const &name : names)
            if (!stop())
                SendWaitingShown(name, stop);
    });
    return Pt_CONTINUE;
}
