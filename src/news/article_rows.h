#pragma once
// The rows of articles in the header list, threaded by their references. Private to this folder. Everything here is
// called under the library lock.

#include "Pt.h"
#include "news/overview.h"

/// Forgets the rows of a list that was freed since the last call. Before the first AddArticleRow of a download.
void BeginArticleRows();

/// Adds a row for the article: below the one that it answers, behind that one's other answers, when there is such a
/// row, else at the end of the list. False after an alert when out of memory.
bool AddArticleRow(PtWidget_t *list, OverviewLine const &article);
