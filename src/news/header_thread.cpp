// Starting a header download from the main window, and its thread.

#include "base/text.h"
#include "names/widgets.h"
#include "net/session_lock.h"
#include "news/download_prompt.h"
#include "news/download_run.h"
#include "news/header_download.h"
#include "news/nntp.h"
#include "widgets/activity.h"
#include "widgets/open_profile.h"
#include "widgets/toolkit.h"

#include <atomic>
#include <cstring>
#include <memory>
#include <pthread.h>

namespace {

constexpr int32_t kBatch = 500;

std::atomic<int> runningDownloads{0};

/// Starts that have not ended. Under the library lock.
int unended = 0;
/// The last of them; a null profile for none. Only compared. Under the library lock.
NewsProfile const *startedProfile = nullptr;
uint32_t startedTicket = 0;

/// A download on its way to its thread.
struct Job {
    AccountRef<NewsProfile> profile;
    int32_t total;
    DownloadStart start;
};

bool IsStarted(NewsProfile const &profile) {
    return startedProfile == &profile && startedTicket == profile.downloadTicket;
}

/// The two buttons that would disturb a download: checking again, and taking rows away. The menu's check is the same
/// command as the first.
void SetDownloadWidgetsBlocked(bool blocked) {
    for (PtWidget_t *widget : {ABW_btnCheckEmail, ABW_btnDelete, ABW_mnuFile_Check})
        SetBlockedBy(kDownloadBlocks, widget, blocked);
}

void HoldWindow(NewsProfile const &profile) {
    startedProfile = &profile;
    startedTicket = profile.downloadTicket;
    unended++;
    SetDownloadWidgetsBlocked(true);
    BeginActivity();
}

/// Without a status the label stays: it speaks of something newer.
void ReleaseWindow(char const *status) {
    if (unended > 0)
        unended--;
    if (unended == 0)
        SetDownloadWidgetsBlocked(false);
    EndActivity();
    if (status)
        SetStatus(status);
}

bool Connect(NewsProfile &profile, std::string &problem) {
    if (profile.serverSocket > 0)
        return true;
    SetStatus("Connecting to news server");
    PtFlush();
    profile.serverSocket = httpget(profile.server);
    if (profile.serverSocket > 0)
        return true;
    problem = WidgetText(ABW_lblStatus); // the reason is there already
    return false;
}

/// Rows of articles would come a second time: a group that is selected begins at its first article.
void DropArticleRows() {
    HeaderRow const *const first = RowOf(PtTreeRootItem(ABW_treeMessageHeaders));
    if (first && first->origin == kArticle)
        FreeHeaderList();
}

/// Makes the connection have the group selected. Returns false after `problem` was set.
bool OpenGroup(NewsProfile &profile, std::string const &group, std::string &problem) {
    SessionLock const lock(profile, SessionLock::kCallback);
    if (group == profile.currentGroup && profile.serverSocket > 0)
        return true;
    if (!Connect(profile, problem))
        return false;
    SetStatus("opening group");
    PtFlush();
    CopyText(profile.currentGroup, "");
    if (selectnewsgroup(profile.serverSocket, profile, group.c_str(), profile.userName, profile.password, &problem) <
        0)
        return false;
    CopyText(profile.currentGroup, group);
    DropArticleRows();
    return true;
}

void *NewsHeaderThread(void *argument) {
    {
        std::unique_ptr<Job> const job(static_cast<Job *>(argument));
        NewsProfile &profile = *job->profile;
        auto const stopped = [&] { return profile.downloadTicket != job->start.ticket; };
        std::string problem;
        {
            SessionLock const lock(profile, SessionLock::kWorker);
            if (!stopped())
                DownloadHeaders(profile.serverSocket, profile, profile.batchSize, job->total, job->start, problem);
        }
        ToolkitGuard const guard;
        if (startedProfile == &profile && startedTicket == job->start.ticket)
            startedProfile = nullptr;
        ReleaseWindow(stopped() ? nullptr : problem.c_str());
        runningDownloads--;
        PtFlush();
    }
    return nullptr;
}

bool StartThread(NewsProfile &profile, int32_t total) {
    auto job = std::make_unique<Job>(Job{AccountRef<NewsProfile>(&profile), total, StartOfDownload(profile)});
    pthread_attr_t attributes;
    if (pthread_attr_init(&attributes) != 0)
        return false;
    pthread_attr_setdetachstate(&attributes, PTHREAD_CREATE_DETACHED);
    pthread_t thread;
    runningDownloads++;
    bool const started = pthread_create(&thread, &attributes, NewsHeaderThread, job.get()) == 0;
    if (started)
        static_cast<void>(job.release()); // the thread frees it
    else
        runningDownloads--;
    pthread_attr_destroy(&attributes);
    return started;
}

} // namespace

int RunningDownloads() { return runningDownloads; }

void EndNewsThread(char const *status) {
    startedProfile = nullptr;
    ReleaseWindow(status);
}

void StartNewsHeaderThread(NewsProfile &profile, int32_t total) {
    if (!StartThread(profile, total))
        EndNewsThread("The header download could not be started");
}

void StartNewsThread() {
    AccountRef<NewsProfile> const profile(CurrentNewsProfile());
    // A group that is being downloaded may be clicked again.
    if (!profile || IsStarted(*profile))
        return;
    HoldWindow(*profile);
    std::string const group = currentFolder;
    std::string problem;
    bool const open = OpenGroup(*profile, group, problem);
    // Alerts of a refused login let the person click on: the group may not be the open one any more.
    if (!IsStarted(*profile) || CurrentNewsProfile() != profile.Get())
        return EndNewsThread(nullptr);
    if (!open)
        return EndNewsThread(problem.c_str());
    SetStatus("Downloading headers");
    PtFlush();
    bool const ask = profile->batchSize == 0 && profile->articleCount - profile->headersDone > kBatch;
    if (ask)
        return AskHowManyHeaders(*profile);
    profile->batchSize = kBatch;
    StartNewsHeaderThread(*profile, 0);
}
