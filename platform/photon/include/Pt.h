#pragma once
// Photon widgets: the part of the toolkit that the program uses. Names, structures and numbers are Photon's;
// docs/photon.md tells what is offered and what is known to differ.

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
typedef struct PhRect {
    PhPoint_t ul, lr;
} PhRect_t;

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
    PhEvent_t *event; ///< null when there is none behind it
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

/// 0 when applied to all; -1 when the widget has no such resource or the value equals the stored one (action
/// resources always act). Texts and structures are copied, pointers and images stored as they are.
int PtSetResources(PtWidget_t *widget, int n_args, PtArg_t const *args);

/// Each value is the address of a pointer, which is made to point into the widget (valid until the resource changes
/// or the widget dies); of an array, len is the address of a count pointer. Value 0 returns a scalar in `value`
/// itself.
int PtGetResources(PtWidget_t const *widget, int n_args, PtArg_t *args);

template <class V, class L> int PtSetResource(PtWidget_t *widget, long type, V value, L len) {
    PtArg_t arg;
    PtSetArg(&arg, type, value, len);
    return PtSetResources(widget, 1, &arg);
}
template <class T, class L> int PtGetResource(PtWidget_t const *widget, long type, T **value, L len) {
    PtArg_t arg;
    PtSetArg(&arg, type, value, len);
    return PtGetResources(widget, 1, &arg);
}

extern PtWidgetClassRef_t PtWidgetBase, PtBasic, PtContainer, PtWindow, PtLabel, PtButton, PtToggleButton, PtText,
    PtMultiText, PtComboBox, PtNumericInteger, PtProgress, PtTimer, PtTree, PtMenu, PtMenuBar, PtMenuButton,
    PtSeparator, PtPane, PtToolbar, PtDivider;

/// Flags of Pt_ARG_FLAGS.
constexpr long Pt_BLOCKED = 0x20000; ///< reacts to nothing, looks unchanged; blocks everything inside
constexpr long Pt_SET = 0x2, Pt_TOGGLE = 0x4, Pt_SELECTABLE = 0x8, Pt_GHOST = 0x10, Pt_MENUABLE = 0x20,
               Pt_ALL_BUTTONS = 0x40, Pt_GETS_FOCUS = 0x80, Pt_HIGHLIGHTED = 0x100, Pt_DELAY_REALIZE = 0x200,
               Pt_CALLBACKS_ACTIVE = 0x400, Pt_REALIZED = 0x100000, Pt_DESTROYED = 0x200000;

enum : long {
    // PtWidget
    Pt_ARG_FLAGS = 1000,
    Pt_ARG_POS,
    Pt_ARG_DIM,
    Pt_ARG_AREA,
    Pt_ARG_WIDTH,
    Pt_ARG_HEIGHT,
    Pt_ARG_POINTER,
    Pt_ARG_USER_DATA,
    Pt_ARG_ANCHOR_FLAGS,
    Pt_ARG_ANCHOR_OFFSETS,
    Pt_CB_REALIZED,
    Pt_CB_UNREALIZED,
    Pt_CB_DESTROYED,
    Pt_CB_BLOCKED,
    Pt_CB_HOTKEY,
    Pt_ARG_HELP_TOPIC, // the tooltip's text
    // PtBasic
    Pt_CB_ARM = 2000,
    Pt_CB_ACTIVATE,
    Pt_CB_DISARM,
    Pt_CB_MENU,
    Pt_CB_GOT_FOCUS,
    Pt_CB_LOST_FOCUS,
    Pt_ARG_FILL_COLOR,
    Pt_ARG_COLOR,
    // PtLabel, PtButton
    Pt_ARG_TEXT_STRING = 3000,
    Pt_ARG_TEXT_FONT,
    Pt_ARG_LABEL_TYPE,
    Pt_ARG_LABEL_IMAGE,
    Pt_ARG_HORIZONTAL_ALIGNMENT,
    Pt_ARG_VERTICAL_ALIGNMENT,
    Pt_ARG_ACCEL_KEY,
    // PtText, PtMultiText
    Pt_ARG_MAX_LENGTH = 4000,
    Pt_ARG_CURSOR_POSITION,
    Pt_ARG_TEXT_FLAGS,
    Pt_CB_MODIFY_VERIFY,
    Pt_CB_MODIFY_NOTIFY,
    Pt_CB_TEXT_CHANGED,
    // PtWindow
    Pt_ARG_WINDOW_TITLE = 18000,
    Pt_ARG_WINDOW_RENDER_FLAGS,
    Pt_ARG_WINDOW_MANAGED_FLAGS,
    Pt_ARG_WINDOW_NOTIFY_FLAGS,
    Pt_ARG_WINDOW_STATE,
    Pt_CB_WINDOW,
    Pt_CB_WINDOW_CLOSING,
    // lists and trees
    Pt_ARG_SELECTION_MODE = 23000,
    Pt_ARG_LIST_SEL_COUNT,
    Pt_ARG_LIST_ITEM_COUNT,
    Pt_ARG_TREE_IMAGES,
    Pt_ARG_TREE_FLAGS,
    Pt_CB_TREE_SELECTION = 23022,
    Pt_CB_TREE_STATE,
    Pt_CB_GEN_TREE_INPUT,
    // PtComboBox
    Pt_ARG_ITEMS = 25000,
    Pt_ARG_CBOX_SEL_ITEM,
    Pt_CB_SELECTION,
    // PtNumericInteger
    Pt_ARG_NUMERIC_VALUE = 26000,
    Pt_ARG_NUMERIC_MIN,
    Pt_ARG_NUMERIC_MAX,
    Pt_ARG_NUMERIC_INCREMENT,
    Pt_CB_NUMERIC_CHANGED,
    // PtProgress
    Pt_ARG_GAUGE_VALUE = 27000,
    Pt_ARG_MINIMUM,
    Pt_ARG_MAXIMUM,
    // PtMenuButton
    Pt_ARG_BUTTON_TYPE = 28000,
    Pt_ARG_ACCEL_TEXT,
    // PtTimer
    Pt_ARG_TIMER_INITIAL = 41000,
    Pt_ARG_TIMER_REPEAT,
    Pt_CB_TIMER_ACTIVATE,
};

enum { Pt_Z_STRING = 0, Pt_IMAGE, Pt_TEXT_IMAGE };
enum { Pt_LEFT = 0, Pt_CENTER = 1, Pt_RIGHT = 2 };
enum { Pt_SINGLE_MODE = 0, Pt_MULTIPLE_MODE, Pt_BROWSE_MODE, Pt_EXTENDED_MODE, Pt_RANGE_MODE };
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
typedef struct PtNumericIntegerCallback {
    int numeric_value;
} PtNumericIntegerCallback_t;
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

// ---- start, loop, lock --------------------------------------------------------------------------------------------

/// Connects to the display. The calling thread holds the library lock from then on. Returns 0, -1 on failure.
int PtInit(char const *name);
/// Processes events until the last window is gone or PtExit.
void PtMainLoop(void);
/// One turn: waits for events and processes them. The library is unlocked while it waits.
int PtProcessEvent(void);
/// Processes what is pending, without waiting.
int PtBkgdHandlerProcess(void);

typedef struct PtAppContext *PtAppContext_t;
typedef struct PtWorkProcId PtWorkProcId_t;
/// Calls `work` from the main loop, under the lock, between events; again as long as it returns Pt_CONTINUE. Before
/// the program's first window has been painted nothing is called. `app` may be null. Main thread only; null when
/// called elsewhere or before PtInit. The id is only good for telling.
PtWorkProcId_t *PtAppAddWorkProc(PtAppContext_t app, int (*work)(void *data), void *data);
void PtExit(int status) __attribute__((noreturn));

/// Takes the library lock. 0 on success; -EDEADLK when the calling thread has it already (nothing changes).
int PtEnter(int flags);
/// Gives the lock back. 0; a negative `flags` or a caller that does not hold the lock changes nothing and gives a
/// negative errno.
int PtLeave(int flags);

/// Repaints everything that changed, now, and reads no input. From a worker that holds the lock the main thread
/// paints while the worker waits; when the main thread is busy elsewhere (it left the library), it returns at once.
/// Returns the hold count.
int PtFlush(void);
/// Puts painting off (PtFlush still paints) until as many PtRelease calls have been made. Returns the hold count.
int PtHold(void);
/// Takes one hold back; the last one paints like PtFlush. Returns the hold count, -1 when there is none.
int PtRelease(void);
int PtUpdate(void); ///< the same as PtRelease

// ---- life cycle ---------------------------------------------------------------------------------------------------

/// Makes a widget, not shown yet, and sets `args` (n_args of them). The parent may be Pt_DEFAULT_PARENT (the
/// container made last or set with PtSetParentWidget) or Pt_NO_PARENT. Null when the parent is being destroyed.
PtWidget_t *PtCreateWidget(PtWidgetClassRef_t widget_class, PtWidget_t *parent, unsigned n_args, PtArg_t const *args);
/// Makes the nearest container of `widget` (itself or above; null: none) the default parent; returns the old one.
PtWidget_t *PtSetParentWidget(PtWidget_t *widget);
/// Shows a widget with its children, those with Pt_DELAY_REALIZE and windows excepted; children's callbacks first.
/// Returns 0; -1 for a destroyed widget and for one whose container is not shown (it comes with it).
int PtRealizeWidget(PtWidget_t *widget);
/// Takes a widget and its children off the screen; children's callbacks first. Returns 0, -1 when destroyed.
int PtUnrealizeWidget(PtWidget_t *widget);
/// Unrealizes and destroys with the children's callbacks first; the memory goes between events, when no callback runs
/// any more. Until then PtWidgetFlags tells Pt_DESTROYED. Returns 0, -1 when that has happened or is under way.
int PtDestroyWidget(PtWidget_t *widget);
/// The flags; Pt_DESTROYED for null.
unsigned long PtWidgetFlags(PtWidget_t const *widget);
int PtWidgetIsRealized(PtWidget_t const *widget);
PtWidget_t *PtWidgetParent(PtWidget_t const *widget);
PtWidgetClassRef_t PtWidgetClassOf(PtWidget_t const *widget);
/// Gives a widget the keyboard. Returns it, null for a window, a blocked or a destroyed widget.
PtWidget_t *PtContainerGiveFocus(PtWidget_t *widget, PhEvent_t *event);
/// Raises a window and makes it the active one. Returns 0, -1 for a destroyed window.
int PtWindowToFront(PtWidget_t *window);
int PtWindowFocus(PtWidget_t *window); ///< the same as PtWindowToFront
/// Blocks the program's other windows until this one is gone; does not wait. Returns 0, -1 for a destroyed window.
int PtMakeModal(PtWidget_t *window, unsigned short cursor, PgColor_t color);

/// Attaches `function` behind those attached before. One that answers other than Pt_CONTINUE ends the list.
void PtAddCallback(PtWidget_t *widget, unsigned long type, PtFunction_t function, void *data);
void PtAddCallbacks(PtWidget_t *widget, unsigned long type, PtCallback_t const *callbacks, unsigned count);
/// Detaches the first callback with this function and data.
void PtRemoveCallback(PtWidget_t *widget, unsigned long type, PtFunction_t function, void *data);

enum { Pk_Delete = 0xF0FF, Pk_F5 = 0xF0C2, Pk_Return = 0xF00D, Pk_Escape = 0xF01B };
enum { Pk_KM_Shift = 1, Pk_KM_Ctrl = 2, Pk_KM_Alt = 4 };
/// Calls `function` when the key is pressed while the widget's window has the focus (with Pt_GETS_FOCUS widgets:
/// while the widget itself has it when the flag Pt_HOTKEY_FOCUSED is given).
enum { Pt_HOTKEY_SYM = 1, Pt_HOTKEY_IGNORE_MODS = 2, Pt_HOTKEY_FOCUSED = 4 };
int PtAddHotkeyHandler(PtWidget_t *widget, unsigned key, unsigned mods, short flags, void *data,
                       PtFunction_t function);

// ---- text ---------------------------------------------------------------------------------------------------------

/// Replaces the characters from `start` to `end`, or inserts at `insert_pos` (-1: the end) when they are equal.
/// `length` counts the characters of `text`, which need not be terminated. A character is a UTF-8 sequence (RFC
/// 3629); a byte that belongs to none is one of its own. The result is cut to Pt_ARG_MAX_LENGTH characters. Returns 1
/// changed, 0 unchanged, -1 no text widget. Callbacks run only with Pt_CALLBACKS_ACTIVE.
int PtTextModifyText(PtWidget_t *widget, int start, int end, int insert_pos, char const *text, int length);
/// PtTextModifyText under its other name; attributes are ignored.
void PtMultiTextModifyText(PtWidget_t *widget, int start, int end, int insert_pos, char const *text, int length,
                           void const *attributes, int mask);

// ---- combo boxes --------------------------------------------------------------------------------------------------

// Positions count from 1.

/// Copies `count` texts into the list before `position` (0: at the end). Returns 0, -1 for more than 65535 items.
int PtListAddItems(PtWidget_t *widget, char const **items, int count, int position);
/// Empties the list; the field keeps its text. Returns 0, -1 for no combo box.
int PtListDeleteAllItems(PtWidget_t *widget);
/// Chooses an item (0: none) and shows its text. Returns 0, -1 for no such item.
int PtListSelectPos(PtWidget_t *widget, int position);
/// The position of a text, 0 when it is not in the list.
int PtListItemPos(PtWidget_t *widget, char const *item);

// ---- trees --------------------------------------------------------------------------------------------------------

typedef struct Pt_genlist_item {
    unsigned flags;
    PhDim_t size;
    struct Pt_genlist_item *next, *prev;
} PtGenListItem_t;

typedef struct Pt_gentree_item {
    PtGenListItem_t list;
    struct Pt_gentree_item *father, *son, *brother;
    PhDim_t dim;
} PtGenTreeItem_t;

typedef struct PtTreeItemAttributes PtTreeItemAttributes_t;

typedef struct Pt_tree_item {
    PtGenTreeItem_t gen;
    union {
        struct {
            short set, unset;
        } img;
        PtTreeItemAttributes_t const *ptr;
    } attr;
    void *data;   ///< the program's, never touched here
    char *string; ///< the text; the item's address stays when it changes
} PtTreeItem_t;

enum : unsigned {
    Pt_LIST_ITEM_SELECTED = 1,
    Pt_LIST_ITEM_CURRENT = 2,
    Pt_TREE_ITEM_EXPANDABLE = 4,
    Pt_TREE_ITEM_EXPANDED = 8,
    Pt_TREE_ITEM_INATREE = 16
};

typedef struct PtTreeCallback {
    unsigned sel_mode;
    PtTreeItem_t *item;
    unsigned nitems;
    int expand;      ///< Pt_CB_TREE_STATE: set non-zero to refuse
    int click_count; ///< clicks of the pointer button, 0 from the keyboard
} PtTreeCallback_t;

typedef struct PtGenTreeInput {
    PhPoint_t pos;
    PtGenTreeItem_t *item; ///< null beside the items
    unsigned index;
    int consumed;
} PtGenTreeInput_t;

// An item passed to Add or Free stands for itself and its following brothers, with everything below them. Where a
// tree is asked for and the items are in none, it may be null.

/// A new item with a copy of `string`; an image index that the tree has no image for becomes -1, none. To be added or
/// freed with PtGenTreeFreeItems. Null when out of memory.
PtTreeItem_t *PtTreeAllocItem(PtWidget_t const *tree, char const *string, short set_img, short unset_img);
/// Adds items before the sons of `parent` (null: the roots) and makes it expandable; `item` may be null. Returns 0,
/// -1 when they are somewhere already.
int PtGenTreeAddFirst(PtWidget_t *tree, PtGenTreeItem_t *item, PtGenTreeItem_t *parent);
/// Adds items behind `brother`. Takes no search, whatever the length of the level. Returns as PtGenTreeAddFirst.
int PtGenTreeAddAfter(PtWidget_t *tree, PtGenTreeItem_t *item, PtGenTreeItem_t *brother);
/// The first item of the root level, null for an empty tree.
PtGenTreeItem_t *PtGenTreeRootItem(PtWidget_t const *tree);
/// Takes one item out with everything below it; it is the caller's then. A current item among them is forgotten.
void PtGenTreeRemoveItem(PtWidget_t *tree, PtGenTreeItem_t *item);
/// Takes all sons of an item out as a list and returns its first, null for none.
PtGenTreeItem_t *PtGenTreeRemoveChildren(PtWidget_t *tree, PtGenTreeItem_t *item);
/// Frees items that are in no tree; their `data` is the program's. Returns 0, -1 when they still hang somewhere.
int PtGenTreeFreeItems(PtGenTreeItem_t *item);
/// Takes out and frees every item. A destroyed tree does so by itself.
void PtGenTreeFreeAllItems(PtWidget_t *tree);
/// Expands an expandable item after Pt_CB_TREE_STATE (reason_subtype 1) has allowed it. Returns 0; what the callback
/// put into `expand`; -1 when there is nothing to expand or the callback took the item out.
int PtGenTreeExpand(PtWidget_t *tree, PtGenTreeItem_t *item, PhEvent_t *event);
/// Hides what is below an item, then calls Pt_CB_TREE_STATE (reason_subtype 0).
void PtGenTreeCollapse(PtWidget_t *tree, PtGenTreeItem_t *item, PhEvent_t *event);
/// Selects an item, in the single and browse modes instead of another. No callback.
void PtGenTreeSelect(PtWidget_t *tree, PtGenTreeItem_t *item);
void PtGenTreeUnselect(PtWidget_t *tree, PtGenTreeItem_t *item);
void PtGenTreeClearSelection(PtWidget_t *tree);
/// Scrolls to an item.
void PtGenTreeShow(PtWidget_t *tree, PtGenTreeItem_t *item);
/// Makes an item the current one and scrolls to it.
void PtGenTreeGoto(PtWidget_t *tree, PtGenTreeItem_t *item);
/// Has an item drawn anew.
void PtGenTreeDamageItem(PtWidget_t *tree, PtGenTreeItem_t *item);
/// The row of an item among the rows shown, from 1; 0 when a collapsed one hides it.
int PtGenTreeItemIndex(PtWidget_t const *tree, PtGenTreeItem_t const *item);
/// The current item, which need not be selected; null for none.
PtTreeItem_t *PtTreeGetCurrent(PtWidget_t const *tree);
/// The selected items, ended by null, in an array from malloc (freed by the caller) or in `buffer`; null when none
/// is.
PtTreeItem_t **PtTreeSelectedItems(PtWidget_t const *tree, PtTreeItem_t **buffer);
/// Gives an item a copy of `string` as its text. Returns 0, -1 when out of memory (the old text stays).
int PtTreeModifyItemString(PtWidget_t *tree, PtTreeItem_t *item, char const *string);

inline int PtTreeAddFirst(PtWidget_t *tree, PtTreeItem_t *item, PtTreeItem_t *parent) {
    return PtGenTreeAddFirst(tree, &item->gen, parent ? &parent->gen : nullptr);
}
inline int PtTreeAddAfter(PtWidget_t *tree, PtTreeItem_t *item, PtTreeItem_t *brother) {
    return PtGenTreeAddAfter(tree, &item->gen, &brother->gen);
}
inline PtTreeItem_t *PtTreeRootItem(PtWidget_t const *tree) {
    return reinterpret_cast<PtTreeItem_t *>(PtGenTreeRootItem(tree));
}

// ---- menus, dialogs -----------------------------------------------------------------------------------------------

/// Places a menu at the event's pointer.
void PtPositionMenu(PtWidget_t *menu, PhEvent_t *event);

enum {
    Pt_MODAL = 0x100,
    Pt_BLOCK_ALL = 0x200,
    Pt_BLOCK_PARENT = 0x400,
    Pt_RELATIVE = 0x800,
    Pt_ESC_DISABLE = 0x1000,
    Pt_LET_NULL = 0x2000,
    Pt_BLIND = 0x4000
};

/// A question in a box of its own: "&" marks a button's key, which works without Alt. Returns the number of the
/// button pressed, from 1; closing the box counts as the escape button, without one as the default button; -1 on
/// error. The library is unlocked while it waits; any thread that holds the lock may call it.
int PtAlert(PtWidget_t *parent, PhPoint_t const *location, char const *title, PhImage_t const *image,
            char const *message, char const *message_font, int button_count, char const **buttons,
            char const **button_fonts, int default_button, int escape_button, int flags);

/// PtAlert with a line of text: `text` of `text_length` bytes is shown and receives the entry. Without Pt_LET_NULL an
/// empty entry cannot be accepted.
int PtPrompt(PtWidget_t *parent, PhPoint_t const *location, char const *title, PhImage_t const *image,
             char const *message, char const *message_font, int button_count, char const **buttons,
             char const **button_fonts, int default_button, int escape_button, int text_length, char *text,
             char const *text_font, int flags);

enum { Pt_FSDIALOG_BTN1 = 1, Pt_FSDIALOG_BTN2 = 2 };
enum { Pt_FSR_SELECT_DIRS = 1, Pt_FSR_CONFIRM_EXISTING = 2, Pt_FSR_NO_FCHECK = 4 };

typedef struct PtFileSelectionInfo {
    short ret;
    char path[4096 + 256]; ///< the chosen path; untouched when cancelled
    PhDim_t dim;
    PhPoint_t pos;
    char format[80], fspec[80];
    void *user_data;
} PtFileSelectionInfo_t;

/// Lets the user choose a file. `root_dir` may name a file: its longest existing directory is opened and the rest
/// proposed as the name. New names need Pt_FSR_NO_FCHECK. Returns 0, -1 on error; info->ret tells the button.
int PtFileSelection(PtWidget_t *parent, PhPoint_t const *position, char const *title, char const *root_dir,
                    char const *file_spec, char const *button1, char const *button2, char const *format,
                    PtFileSelectionInfo_t *info, int flags);
