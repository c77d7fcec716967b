// Setting and reading resources.

#include "core/display.h"
#include "core/lock.h"
#include "core/state.h"
#include "core/utf8.h"

#include <algorithm>
#include <climits>
#include <cstring>
#include <utility>

namespace {

constexpr unsigned long kStateFlags = Pt_REALIZED | Pt_DESTROYED;

template <class T> T *Address(long value) { return reinterpret_cast<T *>(value); }

bool IsText(PtType type) { return type == PtType::String || type == PtType::ActionText; }

std::string_view TextOf(PtArg_t const &arg) {
    char const *text = Address<char const>(arg.value);
    if (!text)
        return {};
    return arg.len > 0 ? std::string_view(text, strnlen(text, static_cast<size_t>(arg.len))) : std::string_view(text);
}

bool SetBytes(PtValue &value, std::string_view bytes) {
    if (value.bytes == bytes)
        return false;
    value.bytes = bytes;
    value.scalar = -1;
    return true;
}

bool SetStrings(PtValue &value, char const *const *strings, long count) {
    std::vector<std::string> items;
    for (long i = 0; i < std::clamp(count, 0L, long{USHRT_MAX}); i++)
        items.emplace_back(strings[i] ? strings[i] : "");
    if (items == value.items)
        return false;
    value.items = std::move(items);
    return true;
}

/// Stores a value of an ordinary kind. False when it equals the stored one.
bool Store(PtWidget_t const &widget, PtResourceDef const &definition, PtValue &value, PtArg_t const &arg) {
    switch (definition.type) {
    case PtType::Scalar:
    case PtType::Pointer:
        return std::exchange(value.scalar, arg.value) != arg.value;
    case PtType::Flag: {
        long const bits = (value.scalar & ~arg.len) | (arg.value & arg.len);
        return std::exchange(value.scalar, bits) != bits;
    }
    case PtType::String: {
        if (definition.number == Pt_ARG_TEXT_STRING && PtClassIsA(widget.widget_class, PtMultiText))
            return SetBytes(value, PtPlainText(TextOf(arg), PtTextLines::Several));
        std::string_view text = TextOf(arg);
        if (definition.number == Pt_ARG_TEXT_STRING)
            text = PtCutToMaxLength(widget, text);
        return SetBytes(value, text);
    }
    case PtType::Struct:
        return SetBytes(value, arg.value ? std::string_view(Address<char const>(arg.value), definition.size)
                                         : std::string_view{});
    case PtType::PointerArray: {
        value.count = static_cast<unsigned short>(std::clamp(arg.len, 0L, long{USHRT_MAX}));
        return SetBytes(value, arg.value
                                   ? std::string_view(Address<char const>(arg.value), value.count * sizeof(void *))
                                   : std::string_view{});
    }
    case PtType::StringArray:
        return SetStrings(value, Address<char const *const>(arg.value), arg.value ? arg.len : 0);
    case PtType::Link:
    case PtType::Action:
    case PtType::ActionText:
        break;
    }
    return false;
}

int SetFlags(PtWidget_t &widget, unsigned long value, unsigned long mask) {
    mask &= ~kStateFlags;
    unsigned long const flags = (widget.flags & ~mask) | (value & mask);
    if (flags == widget.flags)
        return -1;
    widget.flags = flags;
    PtMarkDirty(widget, kDirtyFlags);
    return 0;
}

int SetAction(PtWidget_t &widget, PtResourceDef const &definition, PtArg_t const &arg) {
    PtAction action{arg.type, arg.value, arg.len, {}};
    PtValue &value = *PtValueOf(widget, arg.type);
    if (definition.type == PtType::ActionText) {
        action.text = arg.value ? Address<char const>(arg.value) : "";
        SetBytes(value, action.text);
    } else {
        value.scalar = arg.value;
    }
    return PtDoAction(widget, std::move(action));
}

int SetOne(PtWidget_t &widget, PtArg_t const &arg) {
    PtResourceDef const *definition = PtFindResource(widget.widget_class, arg.type);
    if (!definition || definition->read_only)
        return -1;
    if (arg.type == Pt_ARG_FLAGS)
        return SetFlags(widget, static_cast<unsigned long>(arg.value), static_cast<unsigned long>(arg.len));
    if (definition->type == PtType::Link) {
        PtAddCallbacks(&widget, static_cast<unsigned long>(arg.type), Address<PtCallback_t const>(arg.value),
                       arg.len > 0 ? static_cast<unsigned>(arg.len) : 1);
        return arg.value ? 0 : -1;
    }
    if (definition->type == PtType::Action || definition->type == PtType::ActionText)
        return SetAction(widget, *definition, arg);
    if (!Store(widget, *definition, *PtValueOf(widget, arg.type), arg))
        return -1;
    PtNoteChange(widget, arg.type);
    for (long const related : PtStoreRelated(widget, arg.type))
        PtNoteChange(widget, related);
    return 0;
}

int GetOne(PtWidget_t &widget, PtArg_t &arg) {
    PtResourceDef const *definition = PtFindResource(widget.widget_class, arg.type);
    PtValue *value = definition ? PtValueOf(widget, arg.type) : nullptr;
    if (!value || definition->type == PtType::Link)
        return -1;
    if (arg.type == Pt_ARG_FLAGS)
        value->scalar = static_cast<long>(widget.flags);
    bool const scalar =
        definition->type == PtType::Scalar || definition->type == PtType::Flag || definition->type == PtType::Action;
    if (!arg.value) { // the short method: into the argument itself
        if (!scalar && definition->type != PtType::Pointer)
            return -1;
        arg.value = value->scalar;
        return 0;
    }
    void const *&target = *Address<void const *>(arg.value);
    if (scalar) {
        target = &value->scalar;
    } else if (definition->type == PtType::Pointer) {
        target = Address<void const>(value->scalar);
    } else if (definition->type == PtType::StringArray) {
        value->pointers.clear();
        for (std::string const &item : value->items)
            value->pointers.push_back(item.c_str());
        value->count = static_cast<unsigned short>(value->items.size());
        target = value->pointers.data();
    } else {
        target = IsText(definition->type) || !value->bytes.empty() ? value->bytes.c_str() : nullptr;
    }
    if (arg.len && (definition->type == PtType::StringArray || definition->type == PtType::PointerArray))
        *Address<unsigned short const *>(arg.len) = &value->count;
    return 0;
}

} // namespace

PtValue *PtValueOf(PtWidget_t &widget, long resource) {
    if (auto const found = widget.values.find(resource); found != widget.values.end())
        return &found->second;
    PtResourceDef const *definition = PtFindResource(widget.widget_class, resource);
    if (!definition)
        return nullptr;
    PtValue &value = widget.values[resource];
    value.scalar = definition->initial;
    if (definition->type == PtType::Struct)
        value.bytes.assign(definition->size, '\0');
    if (resource == Pt_ARG_TEXT_STRING && PtClassIsA(widget.widget_class, PtNumericInteger))
        value.bytes = std::to_string(PtValueOf(widget, Pt_ARG_NUMERIC_VALUE)->scalar);
    return &value;
}

int PtSetResources(PtWidget_t *widget, int n_args, PtArg_t const *args) {
    if (!widget)
        return -1;
    PtPin const pin(*widget);
    int result = 0;
    for (int i = 0; i < n_args; i++)
        if (SetOne(*widget, args[i]) != 0)
            result = -1;
    return result;
}

int PtGetResources(PtWidget_t const *widget, int n_args, PtArg_t *args) {
    if (!widget)
        return -1;
    int result = 0;
    for (int i = 0; i < n_args; i++)
        if (GetOne(const_cast<PtWidget_t &>(*widget), args[i]) != 0)
            result = -1;
    return result;
}

void PtNoteChange(PtWidget_t &widget, long number) {
    if (std::find(widget.changed.begin(), widget.changed.end(), number) == widget.changed.end())
        widget.changed.push_back(number);
    bool const geometry = number >= Pt_ARG_POS && number <= Pt_ARG_HEIGHT;
    PtMarkDirty(widget, geometry ? kDirtyResources | kDirtyGeometry : kDirtyResources);
}

void PtStoreString(PtWidget_t &widget, long resource, std::string text) {
    PtValue *value = PtValueOf(widget, resource);
    if (!value)
        return;
    value->bytes = std::move(text);
    value->scalar = -1;
    PtStoreRelated(widget, resource);
}

void PtStoreScalar(PtWidget_t &widget, long resource, long scalar) {
    PtValue *value = PtValueOf(widget, resource);
    if (!value)
        return;
    value->scalar = scalar;
    PtStoreRelated(widget, resource);
}

void PtStoreFlags(PtWidget_t &widget, unsigned long bits, unsigned long mask) {
    widget.flags = (widget.flags & ~mask) | (bits & mask);
}

void PtStoreArea(PtWidget_t &widget, PhArea_t const &area) {
    PtValueOf(widget, Pt_ARG_AREA)->bytes.assign(reinterpret_cast<char const *>(&area), sizeof area);
    PtStoreRelated(widget, Pt_ARG_AREA);
}
