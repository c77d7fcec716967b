// The list of a combo box. Positions count from 1.

#include "core/state.h"

#include <algorithm>
#include <climits>

namespace {

bool IsCombo(PtWidget_t const *widget) { return widget && PtClassIsA(widget->widget_class, PtComboBox); }

void ItemsChanged(PtWidget_t &widget) {
    PtNoteChange(widget, Pt_ARG_ITEMS);
    for (long const related : PtStoreRelated(widget, Pt_ARG_ITEMS))
        PtNoteChange(widget, related);
}

} // namespace

int PtListAddItems(PtWidget_t *widget, char const **items, int count, int position) {
    if (!IsCombo(widget) || !items || count < 0 || position < 0)
        return -1;
    std::vector<std::string> &list = PtValueOf(*widget, Pt_ARG_ITEMS)->items;
    if (list.size() + static_cast<size_t>(count) > USHRT_MAX)
        return -1;
    size_t at = position == 0 ? list.size() : std::min(static_cast<size_t>(position) - 1, list.size());
    for (int i = 0; i < count; i++)
        list.insert(list.begin() + static_cast<long>(at++), items[i] ? items[i] : "");
    ItemsChanged(*widget);
    return 0;
}

int PtListDeleteAllItems(PtWidget_t *widget) {
    if (!IsCombo(widget))
        return -1;
    PtValueOf(*widget, Pt_ARG_ITEMS)->items.clear();
    ItemsChanged(*widget);
    return 0;
}

int PtListSelectPos(PtWidget_t *widget, int position) {
    if (!IsCombo(widget) || position < 0 ||
        static_cast<size_t>(position) > PtValueOf(*widget, Pt_ARG_ITEMS)->items.size())
        return -1;
    PtSetResource(widget, Pt_ARG_CBOX_SEL_ITEM, position, 0);
    return 0;
}
