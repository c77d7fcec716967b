// The table of widget classes: what each one's resources are, their kinds and defaults.

#include "core/widget.h"

#include "photon/PtWebClient.h"

#include <climits>

namespace {

using Def = PtResourceDef;

constexpr Def Scalar(long number, long initial = 0) { return {number, PtType::Scalar, 0, initial}; }
constexpr Def ReadOnly(long number, long initial = 0) { return {number, PtType::Scalar, 0, initial, true}; }
constexpr Def Flag(long number, long initial = 0) { return {number, PtType::Flag, 0, initial}; }
constexpr Def Text(long number) { return {number, PtType::String, 0, 0}; }
constexpr Def Pointer(long number) { return {number, PtType::Pointer, 0, 0}; }
constexpr Def Link(long number) { return {number, PtType::Link, 0, 0}; }
template <class T> constexpr Def Struct(long number) { return {number, PtType::Struct, sizeof(T), 0}; }

constexpr Def kWidget[] = {
    Flag(Pt_ARG_FLAGS),   Struct<PhPoint_t>(Pt_ARG_POS), Struct<PhDim_t>(Pt_ARG_DIM), Struct<PhArea_t>(Pt_ARG_AREA),
    Scalar(Pt_ARG_WIDTH), Scalar(Pt_ARG_HEIGHT),         Pointer(Pt_ARG_POINTER),     Flag(Pt_ARG_ANCHOR_FLAGS),
    Link(Pt_CB_REALIZED), Link(Pt_CB_UNREALIZED),        Link(Pt_CB_DESTROYED),       Link(Pt_CB_HOTKEY),
};
constexpr Def kBasic[] = {
    Link(Pt_CB_ACTIVATE),
    Link(Pt_CB_MENU),
};
constexpr Def kWindow[] = {
    Text(Pt_ARG_WINDOW_TITLE),
    Flag(Pt_ARG_WINDOW_MANAGED_FLAGS, Ph_WM_CLOSE | Ph_WM_RESIZE),
    Flag(Pt_ARG_WINDOW_NOTIFY_FLAGS),
    Link(Pt_CB_WINDOW),
};
constexpr Def kLabel[] = {
    Text(Pt_ARG_TEXT_STRING),
    Text(Pt_ARG_TEXT_FONT),
    Pointer(Pt_ARG_LABEL_IMAGE),
    Text(Pt_ARG_ACCEL_KEY),
};
constexpr Def kText[] = {
    Scalar(Pt_ARG_MAX_LENGTH, 32767),
    Scalar(Pt_ARG_CURSOR_POSITION),
    Flag(Pt_ARG_TEXT_FLAGS, Pt_EDITABLE | Pt_CURSOR_VISIBLE),
    Link(Pt_CB_MODIFY_VERIFY),
    Link(Pt_CB_TEXT_CHANGED),
};
// A multi-line text has no limit of its own: whole messages are shown in one.
constexpr Def kMultiText[] = {
    Text(Pt_ARG_TEXT_STRING),
    Text(Pt_ARG_TEXT_FONT),
    Scalar(Pt_ARG_MAX_LENGTH, INT_MAX),
    Scalar(Pt_ARG_CURSOR_POSITION),
    Flag(Pt_ARG_TEXT_FLAGS, Pt_EDITABLE | Pt_CURSOR_VISIBLE),
    Link(Pt_CB_MODIFY_VERIFY),
    Link(Pt_CB_TEXT_CHANGED),
};
constexpr Def kCombo[] = {
    Text(Pt_ARG_TEXT_STRING),
    Text(Pt_ARG_TEXT_FONT),
    Scalar(Pt_ARG_MAX_LENGTH, 32767),
    Scalar(Pt_ARG_CURSOR_POSITION),
    Flag(Pt_ARG_TEXT_FLAGS, Pt_EDITABLE | Pt_CURSOR_VISIBLE),
    {Pt_ARG_ITEMS, PtType::StringArray, 0, 0},
    Scalar(Pt_ARG_CBOX_SEL_ITEM),
    Link(Pt_CB_SELECTION),
};
constexpr Def kNumeric[] = {
    Scalar(Pt_ARG_NUMERIC_VALUE),
    Scalar(Pt_ARG_NUMERIC_MIN, INT_MIN),
    Scalar(Pt_ARG_NUMERIC_MAX, INT_MAX),
    Text(Pt_ARG_TEXT_STRING),
    Text(Pt_ARG_TEXT_FONT),
};
constexpr Def kProgress[] = {
    Scalar(Pt_ARG_GAUGE_VALUE),
};
constexpr Def kTimer[] = {
    {Pt_ARG_TIMER_INITIAL, PtType::Action, 0, 0},
    Scalar(Pt_ARG_TIMER_REPEAT),
    Link(Pt_CB_TIMER_ACTIVATE),
};
constexpr Def kTree[] = {
    {Pt_ARG_TREE_IMAGES, PtType::PointerArray, 0, 0},
    Text(Pt_ARG_TEXT_FONT),
    Link(Pt_CB_TREE_SELECTION),
};
constexpr Def kMenuButton[] = {
    Scalar(Pt_ARG_BUTTON_TYPE, Pt_MENU_TEXT),
};
constexpr Def kWebClient[] = {
    Text(Pt_ARG_CLIENT_NAME),
    {Pt_ARG_WEB_GET_URL, PtType::ActionText, 0, 0},
    {Pt_ARG_WEB_SERVER, PtType::ActionText, 0, 0},
    {Pt_ARG_WEB_OPTION, PtType::ActionText, 0, 0},
    {Pt_ARG_WEB_PRINT, PtType::Action, 0, 0},
    ReadOnly(Pt_ARG_WEB_STARTUP_ERRNO),
    {Pt_ARG_WEB_COMMAND, PtType::Action, 0, 0},
    {Pt_ARG_WEB_ROOTS, PtType::StringArray, 0, 0},
    Link(Pt_CB_WEB_CONTEXT),
    ReadOnly(Pt_ARG_WEB_NAMES_IMAGES),
};

constexpr unsigned long kPressable = Pt_SELECTABLE | Pt_GETS_FOCUS | Pt_HIGHLIGHTED;

using Class = PtWidgetClass;
constexpr Class widget_class{"PtWidget", nullptr, kWidget, 0, false, false};
constexpr Class basic_class{"PtBasic", &widget_class, kBasic, 0, false, false};
constexpr Class container_class{"PtContainer", &basic_class, {}, 0, true, false};
constexpr Class window_class{"PtWindow", &container_class, kWindow, 0, true, true};
constexpr Class label_class{"PtLabel", &basic_class, kLabel, 0, false, false};
constexpr Class button_class{"PtButton", &label_class, {}, kPressable, false, false};
constexpr Class toggle_class{"PtToggleButton", &button_class, {}, kPressable | Pt_TOGGLE, false, false};
constexpr Class text_class{"PtText", &label_class, kText, Pt_GETS_FOCUS, false, false};
constexpr Class multi_text_class{"PtMultiText", &basic_class, kMultiText, Pt_GETS_FOCUS, false, false};
constexpr Class combo_class{"PtComboBox", &basic_class, kCombo, Pt_GETS_FOCUS, false, false};
constexpr Class numeric_class{"PtNumericInteger", &basic_class, kNumeric, Pt_GETS_FOCUS, false, false};
constexpr Class progress_class{"PtProgress", &basic_class, kProgress, 0, false, false};
constexpr Class timer_class{"PtTimer", &widget_class, kTimer, 0, false, false};
constexpr Class tree_class{"PtTree", &basic_class, kTree, Pt_SELECTABLE | Pt_GETS_FOCUS, false, false};
constexpr Class menu_class{"PtMenu", &container_class, {}, Pt_DELAY_REALIZE, true, false};
constexpr Class toolbar_class{"PtToolbar", &container_class, {}, 0, true, false};
constexpr Class menu_bar_class{"PtMenuBar", &toolbar_class, {}, 0, true, false};
constexpr Class menu_button_class{"PtMenuButton", &button_class, kMenuButton, kPressable, false, false};
constexpr Class separator_class{"PtSeparator", &basic_class, {}, 0, false, false};
constexpr Class pane_class{"PtPane", &container_class, {}, 0, true, false};
constexpr Class divider_class{"PtDivider", &container_class, {}, 0, true, false};
constexpr Class web_client_class{"PtWebClient", &container_class, kWebClient, Pt_GETS_FOCUS, false, false};

} // namespace

PtWidgetClassRef_t PtWidgetBase = &widget_class, PtBasic = &basic_class, PtContainer = &container_class,
                   PtWindow = &window_class, PtLabel = &label_class, PtButton = &button_class,
                   PtToggleButton = &toggle_class, PtText = &text_class, PtMultiText = &multi_text_class,
                   PtComboBox = &combo_class, PtNumericInteger = &numeric_class, PtProgress = &progress_class,
                   PtTimer = &timer_class, PtTree = &tree_class, PtMenu = &menu_class, PtMenuBar = &menu_bar_class,
                   PtMenuButton = &menu_button_class, PtSeparator = &separator_class, PtPane = &pane_class,
                   PtToolbar = &toolbar_class, PtDivider = &divider_class, PtWebClient = &web_client_class;

bool PtClassIsA(PtWidgetClassRef_t widget_class, PtWidgetClassRef_t base) {
    while (widget_class && widget_class != base)
        widget_class = widget_class->super;
    return widget_class != nullptr;
}

PtResourceDef const *PtFindResource(PtWidgetClassRef_t widget_class, long number) {
    for (; widget_class; widget_class = widget_class->super)
        for (PtResourceDef const &definition : widget_class->resources)
            if (definition.number == number)
                return &definition;
    return nullptr;
}
