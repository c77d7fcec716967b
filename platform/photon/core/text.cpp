// Changing the text of text fields, multi-line texts and combo boxes.

#include "core/state.h"
#include "core/utf8.h"

#include <algorithm>
#include <climits>
#include <cstring>

namespace {

bool HasText(PtWidget_t const *widget) {
    return widget && (PtClassIsA(widget->widget_class, PtText) || PtClassIsA(widget->widget_class, PtMultiText) ||
                      PtClassIsA(widget->widget_class, PtComboBox));
}

long CountOf(PtValue &value) {
    if (value.scalar < 0)
        value.scalar = static_cast<long>(PtCountChars(value.bytes));
    return value.scalar;
}

/// The first `length` characters of a text that need not be terminated.
std::string FirstChars(char const *text, int length) {
    char const *end = text;
    for (int i = 0; text && i < length && *end; i++)
        end += PtCharBytes({end, *end & 0x80 ? strnlen(end, 4) : 1});
    return text ? std::string(text, end) : std::string();
}

/// The same as the widget can show it.
std::string Insertable(PtWidget_t const &widget, char const *text, int length) {
    std::string inserted = FirstChars(text, length);
    return PtClassIsA(widget.widget_class, PtMultiText) ? PtPlainText(inserted, PtTextLines::Several) : inserted;
}

/// Replaces the characters from `first` to `last` and keeps the count of characters and the cursor in step.
void Splice(PtWidget_t &widget, PtValue &value, long first, long last, std::string const &inserted) {
    long const before = CountOf(value);
    bool const at_end = first >= before;
    size_t const start = at_end ? value.bytes.size() : PtCharOffset(value.bytes, static_cast<size_t>(first));
    size_t const bytes = PtCharOffset(std::string_view(value.bytes).substr(start), static_cast<size_t>(last - first));
    long const added = static_cast<long>(PtCountChars(inserted));
    value.bytes.replace(start, bytes, inserted);
    // Bytes that were characters of their own may form one with their new neighbours.
    bool const ascii_edges = inserted.empty() ? false : !(inserted.front() & 0x80) && !(inserted.back() & 0x80);
    value.scalar = ascii_edges ? before - (last - first) + added : -1;
    long &cursor = PtValueOf(widget, Pt_ARG_CURSOR_POSITION)->scalar;
    if (cursor >= last)
        cursor += added - (last - first);
    else if (cursor > first)
        cursor = first + added;
}

int Modify(PtWidget_t &widget, int start, int end, int insert_pos, char const *text, int length) {
    PtPin const pin(widget);
    PtValue &value = *PtValueOf(widget, Pt_ARG_TEXT_STRING);
    int const count = static_cast<int>(std::min<long>(CountOf(value), INT_MAX));
    if (start == end)
        start = end = insert_pos < 0 ? count : insert_pos;
    else if (start > end)
        std::swap(start, end);
    start = std::clamp(start, 0, count);
    end = std::clamp(end, 0, count);
    std::string inserted = Insertable(widget, text, length);
    long const room = PtValueOf(widget, Pt_ARG_MAX_LENGTH)->scalar - (CountOf(value) - (end - start));
    inserted.resize(PtCharOffset(inserted, static_cast<size_t>(std::max(room, 0L))));
    if (start == end && inserted.empty())
        return 0;
    Splice(widget, value, start, end, inserted);
    PtNoteChange(widget, Pt_ARG_TEXT_STRING);
    for (long const related : PtStoreRelated(widget, Pt_ARG_TEXT_STRING))
        PtNoteChange(widget, related);
    return 1;
}

} // namespace

std::string_view PtCutToMaxLength(PtWidget_t const &widget, std::string_view text) {
    if (!HasText(&widget))
        return text;
    long const limit = PtValueOf(const_cast<PtWidget_t &>(widget), Pt_ARG_MAX_LENGTH)->scalar;
    if (static_cast<long>(text.size()) <= limit)
        return text;
    return text.substr(0, PtCharOffset(text, static_cast<size_t>(std::max(limit, 0L))));
}

int PtTextModifyText(PtWidget_t *widget, int start, int end, int insert_pos, char const *text, int length) {
    return HasText(widget) ? Modify(*widget, start, end, insert_pos, text, length) : -1;
}
