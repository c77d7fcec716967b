#pragma once
// The rows of articles in the header list, threaded by their references. Everything here is called under the library
// lock.

#include "Pt.h"
#include "news/session/overview.h"
#include "widgets/header_list.h"

#include <cstdint>

/// The data of an article's row: what every row has (origin kArticle), and what threads it. Allocated to the length
/// it needs, by malloc.
struct ArticleRow {
    HeaderRow header;
    char messageId[100]; ///< with its angle brackets; cut to the field
    char references[1];  ///< as long as it is, terminated
};

/// Forgets the rows of a list that was freed since the last call. Before the first AddArticleRow of a download.
void BeginArticleRows();

/// Adds a row for the article: below the one that it answers, after that one's other answers, when there is such a
/// row, else at the end of the list. False after an alert when out of memory.
bool AddArticleRow(PtWidget_t *list, OverviewLine const &article, int32_t number);
