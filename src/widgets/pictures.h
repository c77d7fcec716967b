#pragma once
// The pictures in front of rows, from the picture module. All calls under the library lock.

#include "Pt.h"

/// Numbers of the pictures, the same in every tree that has them.
enum RowPicture : short {
    kProfilePicture,
    kInboxPicture,
    kOutboxPicture,
    kFolderPicture,
    kNewsPicture,
    kAttachmentPicture
};

/// Gives a tree the pictures that its rows then name; without the picture module it stays without. The tree may be
/// null.
void SetRowPictures(PtWidget_t *tree);

/// Puts a picture in front of a row that was just added. The item may be null.
void SetRowPicture(PtTreeItem_t *item, RowPicture picture);
