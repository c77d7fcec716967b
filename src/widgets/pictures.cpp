#include "widgets/pictures.h"

#include "widgets/activity.h"

#include <iterator>

void SetRowPictures(PtWidget_t *tree) {
    if (!tree || !EmailWidgetsDb)
        return;
    static constexpr char const *kNames[] = {"imgProfile", "imgInbox", "imgOutbox",
                                             "imgFolder",  "imgNews",  "imgAttachment"}; // in the order of RowPicture
    PhImage_t const *images[std::size(kNames)];
    for (size_t i = 0; i < std::size(kNames); i++)
        images[i] = ApGetImageRes(EmailWidgetsDb, kNames[i]);
    PtSetResource(tree, Pt_ARG_TREE_IMAGES, images, std::size(kNames));
}

void SetRowPicture(PtTreeItem_t *item, RowPicture picture) {
    if (item)
        item->attr.img = {picture, picture};
}
