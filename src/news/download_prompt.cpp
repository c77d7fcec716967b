#include "news/download_prompt.h"

#include "base/text.h"
#include "names/widgets.h"
#include "widgets/toolkit.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <optional>
#include <string>
#include <utility>

namespace {

constexpr unsigned short kWaitCursor = 0xE908;

/// What the dialog is open for. Never destroyed: the program may end while it is open.
std::optional<GroupRun> &Asked() {
    static auto &asked = *new std::optional<GroupRun>;
    return asked;
}

bool WantsAll() {
    unsigned long const flags = ABW_tlgDownloadAll ? PtWidgetFlags(ABW_tlgDownloadAll) : 0;
    return (flags & Pt_SET) != 0;
}

/// From the cursor to the group's last article, negative: getnewsheaders takes all the rest for a count below 1.
int32_t WholeRest(NewsProfile const &profile) {
    int64_t const rest = int64_t{profile.articleCursor} - profile.lastArticle;
    return static_cast<int32_t>(std::clamp<int64_t>(rest, INT32_MIN, INT32_MAX));
}

} // namespace

void AskHowManyHeaders(GroupRun const &run) {
    Asked() = run;
    PtWidget_t *const window = ApCreateModule(&ABM_dlgDownloadNewsPrompt, nullptr, nullptr);
    if (window) {
        PtMakeModal(window, kWaitCursor, 0);
        return;
    }
    Asked().reset();
    EndGroupRun(run, "The headers cannot be asked for");
}

int OnDownloadPromptRealized(PtWidget_t *, ApInfo_t *, PtCallbackInfo_t *) {
    if (Asked())
        SetWidgetText(ABW_lblTotalNewsMessages, std::to_string(Asked()->profile->articleCount).c_str());
    SetWidgetText(ABW_numNewsCount, "500");
    PtContainerGiveFocus(ABW_numNewsCount, nullptr);
    return Pt_CONTINUE;
}

int OnDownloadPromptUnrealized(PtWidget_t *, ApInfo_t *, PtCallbackInfo_t *) {
    std::optional<GroupRun> const run = std::exchange(Asked(), {});
    if (!run)
        return Pt_CONTINUE;
    NewsProfile &profile = *run->profile;
    int32_t total = DecimalPrefix(WidgetText(ABW_numNewsCount));
    if (WantsAll()) {
        total = DecimalPrefix(WidgetText(ABW_lblTotalNewsMessages));
        profile.batchSize = WholeRest(profile);
        printf("-You want %ld messages\n", long{total});
        fflush(stdout);
    } else {
        profile.batchSize = total;
    }
    // The group may have been left, and the program may be about to end.
    if (IsWanted(*run) && PtWidgetIsRealized(ABW_treeMessageHeaders))
        DownloadHeaders(*run, total);
    else
        EndGroupRun(*run, "");
    return Pt_CONTINUE;
}
