#pragma once
// Photon widgets: the part of the toolkit that the program uses. Names, structures and numbers are Photon's;
// docs/photon.md tells what is offered and what is known to differ.

#include "photon/PtWidget.h"

// ---- start, loop, lock --------------------------------------------------------------------------------------------

/// Connects to the display. The calling thread holds the library lock from then on. Returns 0, -1 on failure.
int PtInit(char const *name);
/// Processes events until the last window is closed or PtExit.
void PtMainLoop(void);
typedef struct PtAppContext *PtAppContext_t;
typedef struct PtWorkProcId PtWorkProcId_t;
/// Calls `work` from the main loop, under the lock, between events; again as long as it returns Pt_CONTINUE. Before
/// the program's first window has been painted nothing that the main thread adds is called. `app` may be null. For
/// any thread that holds the lock; null for others and before PtInit. The id is only good for telling.
PtWorkProcId_t *PtAppAddWorkProc(PtAppContext_t app, int (*work)(void *data), void *data);
void PtExit(int status) __attribute__((noreturn));

/// Takes the library lock. 0 on success; -EDEADLK when the calling thread has it already (nothing changes).
int PtEnter(int flags);
/// Gives the lock back. 0; a negative `flags` or a caller that does not hold the lock changes nothing and gives a
/// negative errno.
int PtLeave(int flags);

/// Repaints everything that changed, now, and reads no input. From a worker that holds the lock the main thread
/// paints while the worker waits; when the main thread is busy elsewhere (it left the library), it returns at once.
/// Returns 0, -EPERM for a thread that does not hold the lock.
int PtFlush(void);

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
/// Gives a widget the keyboard. Returns it, null for a window, a blocked or a destroyed widget.
PtWidget_t *PtContainerGiveFocus(PtWidget_t *widget, PhEvent_t *event);
/// Raises a window and makes it the active one. Returns 0, -1 for a destroyed window.
int PtWindowToFront(PtWidget_t *window);
/// Blocks the program's other windows until this one is closed; does not wait. Returns 0, -1 for a destroyed window.
int PtMakeModal(PtWidget_t *window, unsigned short cursor, PgColor_t color);

/// Attaches `function` after those attached before. One that answers other than Pt_CONTINUE ends the list.
void PtAddCallback(PtWidget_t *widget, unsigned long type, PtFunction_t function, void *data);
void PtAddCallbacks(PtWidget_t *widget, unsigned long type, PtCallback_t const *callbacks, unsigned count);
/// Detaches the first callback with this function and data.
void PtRemoveCallback(PtWidget_t *widget, unsigned long type, PtFunction_t function, void *data);

enum { Pk_Delete = 0xF0FF, Pk_F5 = 0xF0C2, Pk_Return = 0xF00D, Pk_Escape = 0xF01B };
enum { Pk_KM_Shift = 1, Pk_KM_Ctrl = 2, Pk_KM_Alt = 4 };
enum { Pt_HOTKEY_SYM = 1, Pt_HOTKEY_IGNORE_MODS = 2, Pt_HOTKEY_FOCUSED = 4 };
/// Calls `function` (null: the widget's Pt_CB_ACTIVATE callbacks) when the key is pressed while the widget's window
/// has the focus; with Pt_HOTKEY_FOCUSED only while the widget itself, or one inside it, has it. Returns 0, -1 for
/// null.
int PtAddHotkeyHandler(PtWidget_t *widget, unsigned key, unsigned mods, short flags, void *data,
                       PtFunction_t function);

// ---- resources ---------------------------------------------------------------------------------------------------

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

// ---- text ---------------------------------------------------------------------------------------------------------

/// Replaces the characters from `start` to `end`, or inserts at `insert_pos` (-1: the end) when they are equal.
/// `length` counts the characters of `text`, which need not be terminated. A character is a UTF-8 sequence (RFC
/// 3629); a byte that belongs to none is one of its own. The result is cut to Pt_ARG_MAX_LENGTH characters. No
/// callback. Returns 1 changed, 0 unchanged, -1 no text widget.
int PtTextModifyText(PtWidget_t *widget, int start, int end, int insert_pos, char const *text, int length);
// ---- combo boxes --------------------------------------------------------------------------------------------------

// Positions count from 1.

/// Copies `count` texts into the list before `position` (0: at the end). Returns 0, -1 for more than 65535 items.
int PtListAddItems(PtWidget_t *widget, char const **items, int count, int position);
/// Empties the list; the field keeps its text. Returns 0, -1 for no combo box.
int PtListDeleteAllItems(PtWidget_t *widget);
/// Chooses an item (0: none) and shows its text. Returns 0, -1 for no such item.
int PtListSelectPos(PtWidget_t *widget, int position);
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
    int click_count; ///< clicks of the pointer button, 0 from the keyboard
} PtTreeCallback_t;

// An item passed to Add or Free stands for itself and its following brothers, with everything below them. Where a
// tree is asked for and the items are in none, it may be null.

/// A new item with a copy of `string`; an image index that the tree has no image for becomes -1, none. To be added or
/// freed with PtGenTreeFreeItems. Null when out of memory.
PtTreeItem_t *PtTreeAllocItem(PtWidget_t const *tree, char const *string, short set_img, short unset_img);
/// Adds items before the sons of `parent` (null: the roots) and makes it expandable; `item` may be null. Returns 0,
/// -1 when they are somewhere already.
int PtGenTreeAddFirst(PtWidget_t *tree, PtGenTreeItem_t *item, PtGenTreeItem_t *parent);
/// Adds items after `brother`. Takes no search, whatever the length of the level. Returns as PtGenTreeAddFirst.
int PtGenTreeAddAfter(PtWidget_t *tree, PtGenTreeItem_t *item, PtGenTreeItem_t *brother);
/// The first item of the root level, null for an empty tree.
PtGenTreeItem_t *PtGenTreeRootItem(PtWidget_t const *tree);
/// Takes one item out with everything below it; it is the caller's then. A current item among them is forgotten.
void PtGenTreeRemoveItem(PtWidget_t *tree, PtGenTreeItem_t *item);
/// Frees items that are in no tree; their `data` is the program's. Returns 0, -1 when they still hang somewhere.
int PtGenTreeFreeItems(PtGenTreeItem_t *item);
/// Takes out and frees every item. A destroyed tree does so by itself.
void PtGenTreeFreeAllItems(PtWidget_t *tree);
/// Shows what is below an expandable item. Returns 0, -1 when it is not expandable.
int PtGenTreeExpand(PtWidget_t *tree, PtGenTreeItem_t *item, PhEvent_t *event);
/// Hides what is below an item.
void PtGenTreeCollapse(PtWidget_t *tree, PtGenTreeItem_t *item, PhEvent_t *event);
/// Selects an item in place of another; it is the current one, too. Outside a tree only the mark is set. No callback.
void PtGenTreeSelect(PtWidget_t *tree, PtGenTreeItem_t *item);
void PtGenTreeUnselect(PtWidget_t *tree, PtGenTreeItem_t *item);
void PtGenTreeClearSelection(PtWidget_t *tree);
/// Scrolls to an item.
void PtGenTreeShow(PtWidget_t *tree, PtGenTreeItem_t *item);
/// Selects an item and scrolls to it.
void PtGenTreeGoto(PtWidget_t *tree, PtGenTreeItem_t *item);
/// Has an item drawn again.
void PtGenTreeDamageItem(PtWidget_t *tree, PtGenTreeItem_t *item);
/// The selected item while it is seen to be: null for none, and while a collapsed one hides it.
PtTreeItem_t *PtTreeGetCurrent(PtWidget_t const *tree);
/// The selected item, shown or hidden, and null, in an array from malloc (freed by the caller) or in `buffer`; null
/// when none is.
PtTreeItem_t **PtTreeSelectedItems(PtWidget_t const *tree, PtTreeItem_t **buffer);
/// Gives an item a copy of `string` as its text. Returns 0, -1 when out of memory (the old text stays).
int PtTreeModifyItemString(PtWidget_t *tree, PtTreeItem_t *item, char const *string);

inline int PtTreeAddFirst(PtWidget_t *tree, PtTreeItem_t *item, PtTreeItem_t *parent) {
    return PtGenTreeAddFirst(tree, item ? &item->gen : nullptr, parent ? &parent->gen : nullptr);
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
