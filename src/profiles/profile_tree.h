#pragma once
// The trees of profiles and their folders: the main window's treeProfiles and the list of the accounts dialog. A root
// item stands for a profile and its data is the profile's record, with one reference; folder and group items carry
// none. All calls on the main thread under the library lock.

#include "Pt.h"
#include "base/account.h"

#include <string>
#include <vector>

/// How much of the profiles a tree shows.
enum TreeMode { kProfilesOnly = 1, kWithFolders = 2 };

/// Adds an item for each mail profile of ConfigRoot, in the directory's order. A directory that cannot be opened is
/// made (mode 0700). Returns 1, or -1 when it was not there or the user has no password entry; the tree stays empty.
int LoadMailProfiles(PtWidget_t *tree, int mode);

/// The same for the news profiles of ConfigRoot/news and their subscribed groups, after the items that are there.
int LoadNewsProfiles(PtWidget_t *tree, int mode);

/// Drops the records of all root items and frees all items.
void FreeProfileTree(PtWidget_t *tree);

/// Empties the main window's tree and fills it again with mail and news profiles.
void ReloadProfileTree();

/// Forgets the open profile and closes its connection, if any, without telling the server; while a check or another
/// session uses it, that ends first, on its worker.
void ForgetOpenProfile();

/// The profile that an item stands for or belongs to; null for a null item.
ServerAccount *ProfileOf(PtTreeItem_t const *item);

/// The folders of a mail profile beside Inbox and Outbox, in the directory's order.
std::vector<std::string> OtherFolders(char const *profile);

/// Appends a folder's item below its profile's.
void AddFolderItem(PtWidget_t *tree, PtTreeItem_t *profileItem, char const *folder);
