#include "app/shown_check.h"

#include "base/paths.h"
#include "base/way.h"
#include "names/widgets.h"
#include "widgets/activity.h"
#include "widgets/certificate_box.h"
#include "widgets/header_list.h"
#include "widgets/open_profile.h"
#include "widgets/toolkit.h"

#include <cstring>

void ShownCheck::Counted(int64_t fresh) {
    counted_ = true;
    SetStatus(fresh >= 1 ? "You have " + std::to_string(fresh) + " new messages\n" : "");
}

/// To wait for the paint of every number would take many times as long as the listing: the window paints by itself,
/// and this makes sure of the first and the last.
void ShownCheck::Listing(int number, int count) {
    ToolkitGuard const guard;
    SetStatus("Rcv " + std::to_string(number) + " of " + std::to_string(count));
    SetProgress(static_cast<int>(int64_t{number} * 100 / count));
    if (!painted_ || number == count)
        PtFlush();
    painted_ = true;
}

void ShownCheck::Row(std::string const &text, bool stored, int32_t number) {
    ToolkitGuard const guard;
    if (!ABW_treeMessageHeaders || currentProfile.Get() != &profile_)
        return;
    // A stored message's number means something in its own folder only: in another one's list it would name, and
    // delete, another message.
    if (stored && strcmp(currentFolder, kInbox) != 0)
        return;
    int const width = static_cast<int>(text.size());
    if (AddHeaderRow(text.c_str(), width, stored ? kStored : kOnServer, number, ABW_treeMessageHeaders,
                     lastHeaderItem))
        rowsAdded_ = true;
}

void ShownCheck::Say(std::string const &text) { SetStatus(text); }

void ShownCheck::Ended() {
    ToolkitGuard const guard;
    if (rowsAdded_ && lastHeaderItem && ABW_treeMessageHeaders)
        PtGenTreeShow(ABW_treeMessageHeaders, &lastHeaderItem->gen);
    SetProgress(0);
}

Outcome RunShownCheck(MailProfile &profile, StopPredicate const &stopped) {
    ShownCheck shown(profile);
    Outcome outcome = CheckMail(profile, shown, stopped);
    if (outcome.certificate && AskToAcceptCertificate(*outcome.certificate))
        outcome = CheckMail(profile, shown, stopped);
    ToolkitGuard const guard;
    SetProblem(outcome.text);
    if (outcome.ending == Ending::kStopped)
        SetStatus("");
    // kept: after a failed connection, login or STAT the activity is not ended, and the star turns on. Not so in the
    // standard way.
    if (shown.WasCounted() || !Classic() || outcome.ending == Ending::kStopped)
        EndActivity();
    return outcome;
}
