#include "news/header_download.h"

#include "Ap.h"
#include "base/log.h"
#include "base/text.h"
#include "names/widgets.h"
#include "net/session_lock.h"
#include "news/alerts.h"
#include "news/download_prompt.h"
#include "news/header_rows.h"
#include "news/session/group.h"
#include "widgets/activity.h"
#include "widgets/header_list.h"
#include "widgets/open_profile.h"
#include "widgets/operation.h"
#include "widgets/toolkit.h"

#include <atomic>
#include <memory>
#include <optional>

namespace {

constexpr int32_t kBatch = 500;

std::atomic<int> runningDownloads{0};

/// Runs that hold the window. Under the library lock.
int unended = 0;
/// The number of the last run, and whether it holds the window. Under the library lock.
unsigned lastRun = 0;
bool lastHolds = false;
/// Its group and its account, which is only compared.
std::string lastGroup;
NewsProfile const *lastProfile = nullptr;

/// The two buttons that would disturb a download: checking again, and taking rows away. The menu's check is the same
/// command as the first.
void SetDownloadWidgetsBlocked(bool blocked) {
    for (PtWidget_t *widget : {ABW_btnCheckEmail, ABW_btnDelete, ABW_mnuFile_Check})
        SetBlockedBy(kDownloadBlocks, widget, blocked);
}

GroupRun HoldWindow(AccountRef<NewsProfile> const &profile) {
    lastGroup = currentFolder;
    lastProfile = profile.Get();
    lastHolds = true;
    unended++;
    SetDownloadWidgetsBlocked(true);
    BeginActivity();
    return {profile, lastGroup, ++lastRun};
}

/// The label stays when the window shows something newer.
void ReleaseWindow(GroupRun const &run, std::string const &status) {
    if (--unended == 0)
        SetDownloadWidgetsBlocked(false);
    EndActivity();
    if (IsWanted(run))
        SetStatus(status);
    if (run.number == lastRun)
        lastHolds = false;
}

void ShowStep(GroupRun const &run, char const *step) {
    ToolkitGuard const guard;
    if (!IsWanted(run))
        return;
    SetStatus(step);
    PtFlush();
}

/// Rows of articles would come a second time: a group that is selected starts at its first article.
void DropArticleRows(GroupRun const &run) {
    ToolkitGuard const guard;
    HeaderRow const *const first = IsWanted(run) ? RowOf(PtTreeRootItem(ABW_treeMessageHeaders)) : nullptr;
    if (first && first->origin == kArticle)
        FreeHeaderList();
}

/// Makes the account's connection have the run's group selected, unless it has.
NewsOutcome Open(NewsSession &session, GroupRun const &run) {
    if (session.Wire() && run.group == session.Profile().currentGroup)
        return {};
    NewsOutcome end = OpenGroup(session, run.group, [&](char const *step) { ShowStep(run, step); });
    if (end)
        DropArticleRows(run);
    return end;
}

NewsOutcome Download(NewsSession &session, GroupRun const &run, int32_t total) {
    std::optional<HeaderRows> rows;
    {
        ToolkitGuard const guard; // the list is the group's as long as the run is wanted
        if (IsWanted(run))
            rows.emplace(total);
    }
    if (!rows)
        return {Stopped()};
    NewsOutcome end = FetchHeaders(session, session.Profile().batchSize, *rows);
    if (end)
        rows->ShowLast();
    return end;
}

/// What the window shows of the end, and the log.
void TellEnd(GroupRun const &run, NewsOutcome const &end) {
    if (!end && end.ending != Ending::kStopped)
        LogError("Headers of %s: %s", run.group.c_str(), end.text.c_str());
    ToolkitGuard const guard;
    if (IsWanted(run))
        ShowAlerts(end); // the user can click on before it closes
    ReleaseWindow(run, end.ending == Ending::kStopped ? "Stopped" : end.text);
}

/// The prompt opens on the main thread.
int Ask(void *argument) {
    std::unique_ptr<GroupRun> const run(static_cast<GroupRun *>(argument));
    if (IsWanted(*run))
        AskHowManyHeaders(*run);
    else
        EndGroupRun(*run, "");
    return Pt_END;
}

/// The first part of a run: the group is opened, and its headers downloaded unless the user has to be asked.
void OpenAndDownload(GroupRun const &run, Stop const &stop) {
    NewsProfile &profile = *run.profile;
    NewsOutcome end{Stopped()};
    bool ask = false;
    if (SessionLock const lock(profile, stop); lock.Held() && !stop()) {
        NewsSession session(profile, stop);
        end = Open(session, run);
        if (end) {
            ShowStep(run, "Downloading headers");
            ask = profile.batchSize == 0 && profile.articleCount - profile.headersDone > kBatch;
        }
        if (end && !ask) {
            profile.batchSize = kBatch;
            end = Download(session, run, 0); // kept: nothing was asked, so "rcvd n of 0"
        }
    }
    ToolkitGuard const guard;
    auto asking = std::make_unique<GroupRun>(run);
    if (end && ask && PtAppAddWorkProc(nullptr, Ask, asking.get()))
        static_cast<void>(asking.release()); // Ask frees it
    else
        TellEnd(run, end);
}

/// The second part, after the user was asked.
void DownloadAsked(GroupRun const &run, int32_t total, Stop const &stop) {
    NewsOutcome end{Stopped()};
    if (SessionLock const lock(*run.profile, stop); lock.Held() && !stop()) {
        NewsSession session(*run.profile, stop);
        end = Download(session, run, total);
    }
    TellEnd(run, end);
}

void Start(GroupRun const &run, std::function<void(GroupRun const &, Stop const &)> work) {
    runningDownloads++;
    bool const started = StartOperation(OperationKind::kGroup, [run, work = std::move(work)](Stop const &stop) {
        work(run, stop);
        runningDownloads--;
    });
    if (started)
        return;
    runningDownloads--;
    EndGroupRun(run, "The header download could not be started");
}

} // namespace

int RunningDownloads() { return runningDownloads; }

bool IsWanted(GroupRun const &run) {
    return run.number == lastRun && CurrentNewsProfile() == run.profile.Get() && run.group == currentFolder &&
           ABW_treeMessageHeaders;
}

void EndGroupRun(GroupRun const &run, char const *status) { ReleaseWindow(run, status); }

void DownloadHeaders(GroupRun const &run, int32_t total) {
    Start(run, [total](GroupRun const &each, Stop const &stop) { DownloadAsked(each, total, stop); });
}

void StartNewsThread() {
    AccountRef<NewsProfile> const profile(CurrentNewsProfile());
    // A group that is being downloaded may be clicked again.
    bool const same = lastHolds && lastProfile == profile.Get() && lastGroup == currentFolder;
    if (!profile || (same && IsRunning(OperationKind::kGroup)))
        return;
    Start(HoldWindow(profile), OpenAndDownload);
}
