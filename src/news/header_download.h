#pragma once
// Opening a group in the main window and downloading its headers, on a worker.

#include "base/account.h"

#include <cstdint>
#include <string>

/// Opens the selected group of the open news profile: connects, selects the group unless it is open already, asks how
/// many headers when there are more than 500 new ones (dlgDownloadNewsPrompt) and downloads them. All of it happens
/// on a worker; lblStatus says what runs and why it failed. Another group that is being opened is given up for it;
/// the same one goes on. Main thread, under the library lock.
void StartNewsThread();

/// One opening of a group, from the click to the last header. What it does to the window counts only as long as it is
/// the last one and its group the one that the window shows.
struct GroupRun {
    AccountRef<NewsProfile> profile;
    std::string group;
    unsigned number; ///< of this run of the program
};

/// True as long as the run's results are to be shown. Under the library lock.
bool IsWanted(GroupRun const &run);

/// Goes on with the download of `profile.batchSize` headers; `total` is what "rcvd n of m" shows last. Main thread,
/// under the library lock. Called when the prompt closes.
void DownloadHeaders(GroupRun const &run, int32_t total);

/// Ends the run without a download and gives the window back: buttons, star, label. Under the library lock.
void EndGroupRun(GroupRun const &run, char const *status);

/// Workers that open a group or download headers, or wait to do so, for tests. Not while the prompt is open.
int RunningDownloads();
