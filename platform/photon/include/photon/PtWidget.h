#pragma once
// What widgets are made of: events, arguments, callbacks, classes, and the numbers of flags and resources.

#include <cstddef>
#include <cstdint>
#include <type_traits>

// ---- events ------------------------------------------------------------------------------------------------------

typedef struct PhPoint {
    short x, y;
} PhPoint_t;
typedef struct PhDim {
    unsigned short w, h;
} PhDim_t;
typedef struct PhArea {
    PhPoint_t pos;
    PhDim_t size;
} PhArea_t;

typedef uint32_t PgColor_t;

/// A picture; opaque. Pointers come from ApGetImageRes and go into Pt_ARG_LABEL_IMAGE and Pt_ARG_TREE_IMAGES.
typedef struct PhImage PhImage_t;

enum { Ph_EV_KEY = 1, Ph_EV_BUT_PRESS = 2, Ph_EV_BUT_RELEASE = 4 };
enum { Ph_BUTTON_MENU = 1, Ph_BUTTON_ADJUST = 2, Ph_BUTTON_SELECT = 4 };

typedef struct PhPointerEvent {
    PhPoint_t pos; ///< on the screen
    unsigned short buttons, button_state;
    unsigned char click_count, flags;
    short z;
    unsigned long key_mods;
} PhPointerEvent_t;

typedef struct PhEvent {
    unsigned long type;
    unsigned short subtype;
    PhPointerEvent_t pointer; ///< read through PhGetData
} PhEvent_t;

/// The data of a pointer event.
inline PhPointerEvent_t *PhGetData(PhEvent_t *event) { return &event->pointer; }

// ---- widgets, arguments, callbacks --------------------------------------------------------------------------------

typedef struct PtWidget PtWidget_t;
typedef struct PtWidgetClass const *PtWidgetClassRef_t;

typedef struct PtCallbackInfo {
    unsigned long reason, reason_subtype;
    PhEvent_t *event; ///< null when no event caused it
    void *cbdata;
} PtCallbackInfo_t;

typedef int (*PtFunction_t)(PtWidget_t *widget, void *data, PtCallbackInfo_t *cbinfo);

typedef struct PtCallback {
    PtFunction_t event_f;
    void *data;
} PtCallback_t;

enum { Pt_CONTINUE = 0, Pt_END = 1, Pt_HALT = 2, Pt_CONSUME = 3 };
constexpr long Pt_TRUE = ~0L;
constexpr long Pt_FALSE = 0;
#define Pt_DEFAULT_PARENT (reinterpret_cast<PtWidget_t *>(-1L))
#define Pt_NO_PARENT (static_cast<PtWidget_t *>(nullptr))

typedef struct PtArg {
    long type, value, len;
} PtArg_t;

/// Any pointer or number as the long that an argument holds.
template <class T> long PtArgLong(T value) {
    if constexpr (std::is_null_pointer_v<T>)
        return 0;
    else if constexpr (std::is_array_v<T> || std::is_pointer_v<T>)
        return reinterpret_cast<long>(value);
    else
        return static_cast<long>(value);
}

template <class V, class L> void PtSetArg(PtArg_t *arg, long type, V value, L len) {
    *arg = {type, PtArgLong(value), PtArgLong(len)};
}

extern PtWidgetClassRef_t PtWidgetBase, PtBasic, PtContainer, PtWindow, PtLabel, PtButton, PtToggleButton, PtText,
    PtMultiText, PtComboBox, PtNumericInteger, PtProgress, PtTimer, PtTree, PtMenu, PtMenuBar, PtMenuButton,
    PtSeparator, PtPane, PtToolbar, PtDivider;

/// Flags of Pt_ARG_FLAGS.
constexpr long Pt_BLOCKED = 0x20000; ///< reacts to nothing, looks unchanged; blocks everything inside
constexpr long Pt_SET = 0x2, Pt_TOGGLE = 0x4, Pt_SELECTABLE = 0x8, Pt_GHOST = 0x10, Pt_MENUABLE = 0x20,
               Pt_ALL_BUTTONS = 0x40, Pt_GETS_FOCUS = 0x80, Pt_HIGHLIGHTED = 0x100, Pt_DELAY_REALIZE = 0x200,
               Pt_REALIZED = 0x100000, Pt_DESTROYED = 0x200000;

enum : long {
    // PtWidget
    Pt_ARG_FLAGS = 1000,
    Pt_ARG_POS,
    Pt_ARG_DIM,
    Pt_ARG_AREA,
    Pt_ARG_WIDTH,
    Pt_ARG_HEIGHT,
    Pt_ARG_POINTER,
    Pt_ARG_ANCHOR_FLAGS,
    Pt_CB_REALIZED,
    Pt_CB_UNREALIZED,
    Pt_CB_DESTROYED,
    Pt_CB_HOTKEY,
    // PtBasic
    Pt_CB_ACTIVATE = 2001,
    Pt_CB_MENU,
    // PtLabel, PtButton
    Pt_ARG_TEXT_STRING = 3000,
    Pt_ARG_TEXT_FONT,
    Pt_ARG_LABEL_IMAGE,
    Pt_ARG_ACCEL_KEY,
    // PtText, PtMultiText
    Pt_ARG_MAX_LENGTH = 4000,
    Pt_ARG_CURSOR_POSITION,
    Pt_ARG_TEXT_FLAGS,
    Pt_CB_MODIFY_VERIFY,
    Pt_CB_TEXT_CHANGED,
    // PtWindow
    Pt_ARG_WINDOW_TITLE = 18000,
    Pt_ARG_WINDOW_MANAGED_FLAGS,
    Pt_ARG_WINDOW_NOTIFY_FLAGS,
    Pt_CB_WINDOW,
    // lists and trees
    Pt_ARG_TREE_IMAGES = 23003,
    Pt_CB_TREE_SELECTION = 23022,
    // PtComboBox
    Pt_ARG_ITEMS = 25000,
    Pt_ARG_CBOX_SEL_ITEM,
    Pt_CB_SELECTION,
    // PtNumericInteger
    Pt_ARG_NUMERIC_VALUE = 26000,
    Pt_ARG_NUMERIC_MIN,
    Pt_ARG_NUMERIC_MAX,
    // PtProgress
    Pt_ARG_GAUGE_VALUE = 27000,
    // PtMenuButton
    Pt_ARG_BUTTON_TYPE = 28000,
    // PtTimer
    Pt_ARG_TIMER_INITIAL = 41000,
    Pt_ARG_TIMER_REPEAT,
    Pt_CB_TIMER_ACTIVATE,
};

enum { Pt_BROWSE_MODE = 2 };
enum { Pt_EDITABLE = 1, Pt_CURSOR_VISIBLE = 2 };
enum { Pt_MENU_TEXT = 0, Pt_MENU_RIGHT, Pt_MENU_DOWN };
enum { Pt_TIMER_INITIAL_SUBTYPE = 1, Pt_TIMER_REPEAT_SUBTYPE = 2 };
enum { Ph_WM_CLOSE = 1, Ph_WM_RESIZE = 2 };
enum {
    Pt_LEFT_ANCHORED_LEFT = 1,
    Pt_LEFT_ANCHORED_RIGHT = 2,
    Pt_RIGHT_ANCHORED_LEFT = 4,
    Pt_RIGHT_ANCHORED_RIGHT = 8,
    Pt_TOP_ANCHORED_TOP = 16,
    Pt_TOP_ANCHORED_BOTTOM = 32,
    Pt_BOTTOM_ANCHORED_TOP = 64,
    Pt_BOTTOM_ANCHORED_BOTTOM = 128
};

typedef struct PtBasicCallback {
    int click_count;
} PtBasicCallback_t;
typedef struct PhWindowEvent {
    unsigned event_f, event_state;
} PhWindowEvent_t;

/// A change of text about to be made (MODIFY_VERIFY) or just made. Positions and lengths count characters.
typedef struct PtTextCallback {
    int start_pos, end_pos;     ///< the range that is replaced; equal for an insertion
    int cur_insert, new_insert; ///< cursor before and after
    int length;                 ///< characters in `text`, 0 for a deletion
    short reserved;
    char
        *text; ///< not terminated; a verify callback may point it elsewhere, `length` characters are taken from there
    int doit;  ///< set to 0 in MODIFY_VERIFY to refuse
} PtTextCallback_t;

typedef struct PtListCallback {
    unsigned mode;
    char *item;
    unsigned item_len, item_pos; ///< position from 1
    unsigned sel_item_count;
    unsigned short *sel_array;
    int click_count;
} PtListCallback_t;
