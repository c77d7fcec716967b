#pragma once
// Rows of the header list and of other plain lists.

#include "Pt.h"
#include "base/account.h"

#include <cstdint>
#include <string>

/// Where the message of a row lives.
enum HeaderOrigin : int32_t { kOnServer = 1, kStored = 2, kArticle = 3 };

/// What was open when a row was added. Shared by many rows, valid until the list is freed.
struct RowFolder {
    AccountRef<ServerAccount> account; ///< may be none
    std::string name;                  ///< folder or group
};

/// What a row of the header list stands for: the data of its item.
struct HeaderRow {
    int32_t origin;
    uint32_t serial; ///< no other row of this run has it; never 0
    int32_t number;  ///< POP3 number, name of the file in the folder, or article number
    RowFolder const *folder;
};

/// The data of a new row of the open profile and folder, for who makes the row's data. Under the library lock.
HeaderRow MakeHeaderRow(HeaderOrigin origin, int32_t number);

/// A row by value: what a worker takes along, since the row may be removed at any time.
struct RowIdentity {
    AccountRef<ServerAccount> account;
    std::string folder;
    HeaderOrigin origin = kStored;
    int32_t number = 0; ///< when this was taken: a deletion on the server renumbers the rows after it
    uint32_t serial = 0;
};
RowIdentity IdentityOf(HeaderRow const &row);

/// The row with this serial number in the main window's header list, threads included; null when it was removed.
/// Under the library lock.
PtTreeItem_t *FindHeaderRow(uint32_t serial);

/// Marks a row in its first column as one that a worker is busy with, or takes one mark away; marks count. Nothing
/// happens to the list when the row was removed. Under the library lock.
void MarkHeaderRow(uint32_t serial, bool busy);

/// Appends an item with `text` (cut at 8192 bytes) to `tree`: first at the root when `previous` is null, else after
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

/// The item after which the next row of the header list goes; null when the list is empty. Under the library lock.
extern PtTreeItem_t *lastHeaderItem;
