#pragma once
// Downloading the headers of a group and threading them into the header list.

#include "base/account.h"
#include "widgets/header_list.h"

#include <cstddef>
#include <cstdint>

/// The data of an article's row: what every row has (origin kArticle), and what threads it. Allocated to the length
/// it needs, by malloc.
struct ArticleRow {
    HeaderRow header;
    char messageId[100]; ///< with its angle brackets; cut to the field
    char references[1];  ///< as long as it is, terminated
};

/// Opens the selected group of the open news profile: connects, selects the group unless it is open already, asks how
/// many headers when there are more than 500 new ones (dlgDownloadNewsPrompt) and starts the download. Main thread,
/// under the library lock.
void StartNewsThread();

/// Starts the detached download of `profile.batchSize` headers; `total` is what "rcvd n of m" shows last. Under the
/// library lock. Called by StartNewsThread and by the prompt when it closes.
void StartNewsHeaderThread(NewsProfile &profile, int32_t total);

/// Undoes what StartNewsThread did to the window: buttons, star, label (null: the label stays). For whoever does not
/// start the download after all. Under the library lock.
void EndNewsThread(char const *status);

/// Downloads `count` headers from articleCursor on (below 1: all the rest) into the header list. Returns 1 after a
/// complete download, -1 on failure or when stopped. A worker calls it with sessionLock held, without the library
/// lock.
int getnewsheaders(int socket, NewsProfile &profile, int32_t count, int32_t total);

/// Downloads that run or wait, for tests and the end of the program.
int RunningDownloads();
