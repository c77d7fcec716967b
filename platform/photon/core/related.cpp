// Resources that show the same thing in several forms.

#include "core/state.h"
#include "core/utf8.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>

namespace {

template <class T> T ReadStruct(PtWidget_t &widget, long number) {
    T result{};
    std::string const &bytes = PtValueOf(widget, number)->bytes;
    memcpy(&result, bytes.data(), std::min(sizeof result, bytes.size()));
    return result;
}

template <class T> void WriteStruct(PtWidget_t &widget, long number, T const &from) {
    PtValueOf(widget, number)->bytes.assign(reinterpret_cast<char const *>(&from), sizeof from);
}

void StoreGeometry(PtWidget_t &widget, long number) {
    auto area = ReadStruct<PhArea_t>(widget, Pt_ARG_AREA);
    if (number == Pt_ARG_POS)
        area.pos = ReadStruct<PhPoint_t>(widget, Pt_ARG_POS);
    else if (number == Pt_ARG_DIM)
        area.size = ReadStruct<PhDim_t>(widget, Pt_ARG_DIM);
    else if (number == Pt_ARG_WIDTH)
        area.size.w = static_cast<unsigned short>(PtValueOf(widget, number)->scalar);
    else if (number == Pt_ARG_HEIGHT)
        area.size.h = static_cast<unsigned short>(PtValueOf(widget, number)->scalar);
    WriteStruct(widget, Pt_ARG_AREA, area);
    WriteStruct(widget, Pt_ARG_POS, area.pos);
    WriteStruct(widget, Pt_ARG_DIM, area.size);
    PtValueOf(widget, Pt_ARG_WIDTH)->scalar = area.size.w;
    PtValueOf(widget, Pt_ARG_HEIGHT)->scalar = area.size.h;
}

void WriteText(PtWidget_t &widget, std::string text) {
    PtValue &value = *PtValueOf(widget, Pt_ARG_TEXT_STRING);
    value.bytes = std::move(text);
    value.scalar = -1;
}

/// A numeric field shows its number, nothing else: a text without one is 0, and both stay inside the range.
std::vector<long> StoreNumeric(PtWidget_t &widget, long number) {
    PtValue &value = *PtValueOf(widget, Pt_ARG_NUMERIC_VALUE);
    if (number == Pt_ARG_TEXT_STRING) {
        errno = 0;
        value.scalar = strtol(PtValueOf(widget, Pt_ARG_TEXT_STRING)->bytes.c_str(), nullptr, 10);
    }
    long const low = PtValueOf(widget, Pt_ARG_NUMERIC_MIN)->scalar;
    long const high = PtValueOf(widget, Pt_ARG_NUMERIC_MAX)->scalar;
    value.scalar = std::clamp(value.scalar, low, std::max(low, high));
    WriteText(widget, std::to_string(value.scalar));
    return {Pt_ARG_TEXT_STRING, Pt_ARG_NUMERIC_VALUE};
}

std::vector<long> StoreCombo(PtWidget_t &widget, long number) {
    std::vector<std::string> const &items = PtValueOf(widget, Pt_ARG_ITEMS)->items;
    PtValue &chosen = *PtValueOf(widget, Pt_ARG_CBOX_SEL_ITEM);
    if (number == Pt_ARG_CBOX_SEL_ITEM) {
        if (chosen.scalar < 1 || static_cast<size_t>(chosen.scalar) > items.size())
            chosen.scalar = 0;
        else
            WriteText(widget, items[static_cast<size_t>(chosen.scalar) - 1]);
    } else {
        std::string const &text = PtValueOf(widget, Pt_ARG_TEXT_STRING)->bytes;
        auto const found = std::find(items.begin(), items.end(), text);
        chosen.scalar = found == items.end() ? 0 : found - items.begin() + 1;
    }
    return {Pt_ARG_TEXT_STRING, Pt_ARG_CBOX_SEL_ITEM};
}

} // namespace

std::vector<long> PtStoreRelated(PtWidget_t &widget, long number) {
    if (number >= Pt_ARG_POS && number <= Pt_ARG_HEIGHT)
        StoreGeometry(widget, number);
    else if (PtClassIsA(widget.widget_class, PtNumericInteger) &&
             (number == Pt_ARG_TEXT_STRING || number == Pt_ARG_NUMERIC_VALUE || number == Pt_ARG_NUMERIC_MIN ||
              number == Pt_ARG_NUMERIC_MAX))
        return StoreNumeric(widget, number);
    else if (PtClassIsA(widget.widget_class, PtComboBox) &&
             (number == Pt_ARG_TEXT_STRING || number == Pt_ARG_CBOX_SEL_ITEM || number == Pt_ARG_ITEMS))
        return StoreCombo(widget, number);
    return {};
}
