#pragma once
// Rows of the header list and of other plain lists.

#include "Pt.h"

#include <cstdint>

/// What a row of the header list stands for: the data of its item.
enum HeaderOrigin : int32_t { kOnServer = 1, kStored = 2, kArticle = 3 };

struct HeaderRow {
    int32_t origin;
    int32_t reserved;
    int32_t number; ///< POP3 number, name of the file in the folder, or article number
};

/// Appends an item with `text` (cut at 8192 bytes) to `tree`: first at the root when `previous` is null, else behind
/// it; `previous` becomes the new item, which is returned. The caller holds the library lock. Null when out of
/// memory.
PtTreeItem_t *AddHeaderItem(char const *text, PtWidget_t *tree, PtTreeItem_t *&previous);

/// A row with its data (a HeaderRow from malloc); the text of a folder's row need not be terminated (`width` bytes at
/// most). The caller holds the library lock. Null when out of memory.
PtTreeItem_t *AddHeaderRow(char const *text, int width, HeaderOrigin origin, int32_t number, PtWidget_t *tree,
                           PtTreeItem_t *&previous);

/// The data of a row, null for none.
inline HeaderRow *RowOf(PtTreeItem_t *item) { return item ? static_cast<HeaderRow *>(item->data) : nullptr; }

/// Frees every row's data and all rows of the main window's header list.
void FreeHeaderList();

/// Counts the times the header list was freed: who keeps pointers to rows compares it before using them. Under the
/// library lock.
extern unsigned headerListAge;

/// Removes one row of the main window's header list with its data; lastHeaderItem stays the list's last.
void RemoveHeaderRow(PtTreeItem_t *item);

/// The item behind which the next row of the header list goes; null when the list is empty. Under the library lock.
extern PtTreeItem_t *lastHeaderItem;
