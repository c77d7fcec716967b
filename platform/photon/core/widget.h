#pragma once
// A widget's retained state. Everything here is guarded by the library lock; nothing here knows Qt. The views
// (platform/photon/qt) mirror it on the GUI thread, from PtView::Sync.

#include "Pt.h"

#include <memory>
#include <span>
#include <string>
#include <unordered_map>
#include <vector>

/// How a resource is stored and handed out. A Link adds callbacks, an ActionText is an action whose value is a
/// string.
enum class PtType { Scalar, Flag, String, Pointer, Struct, StringArray, PointerArray, Link, Action, ActionText };

struct PtResourceDef {
    long number;
    PtType type;
    unsigned short size;    ///< of a Struct
    long initial;           ///< of a Scalar or Flag
    bool read_only = false; ///< written by views only
};

struct PtWidgetClass {
    char const *name; ///< "PtButton"
    PtWidgetClassRef_t super;
    std::span<PtResourceDef const> resources; ///< the class's own; the rest is in `super`
    unsigned long initial_flags;
    bool is_container;
    bool is_window;
};

/// True when `widget_class` is `base` or derived from it.
bool PtClassIsA(PtWidgetClassRef_t widget_class, PtWidgetClassRef_t base);
/// The definition of a resource in a class or its supers; null when it has none.
PtResourceDef const *PtFindResource(PtWidgetClassRef_t widget_class, long number);

struct PtValue {
    long scalar = 0;   ///< scalars, pointers; little-endian, so any narrower type can be read from it; of a text its
                       ///< characters, -1 when not counted
    std::string bytes; ///< strings (with a NUL after size()), structures, arrays of pointers
    std::vector<std::string> items;     ///< string arrays
    std::vector<char const *> pointers; ///< to `items`, for reading
    unsigned short count = 0;
};

/// An action resource that was set. On the GUI thread it is carried out at once; set from a worker, or before the
/// view is there, it waits for the next sync, and a text action keeps its text only (`value` and `len` are 0 then).
/// Other values are kept as they are: an address in them may be invalid by then, so views do not follow it, the print
/// context of Pt_ARG_WEB_PRINT excepted.
struct PtAction {
    long resource, value, len;
    std::string text; ///< a copy of a value that is a string
};

/// What of a widget changed since its view was last synced.
enum PtDirty : unsigned {
    kDirtyResources = 1, ///< see PtWidget::changed
    kDirtyFlags = 2,
    kDirtyTree = 4,
    kDirtyGeometry = 8,
    kDirtyRealize = 16,
    kDirtyActions = 32
};

struct PtHotkey {
    unsigned key, mods;
    short flags;
    PtFunction_t function;
    void *data;
};

/// The Qt side of one widget. Created, synced and destroyed on the GUI thread under the library lock.
class PtView {
  public:
    virtual ~PtView() = default;
    /// Brings the QWidget up to date with `widget` (its dirty bits and `changed` tell what to look at).
    virtual void Sync(PtWidget_t &widget) = 0;
    /// Carries out an action resource. Returns 0, -1 when it failed.
    virtual int Act(PtWidget_t &widget, PtAction const &action) = 0;
};

struct PtTreeState;

struct PtWidget {
    PtWidgetClassRef_t widget_class = nullptr;
    std::string name; ///< instance name, empty for none
    int number = 0;   ///< ABN_ number, 0 for none
    PtWidget *parent = nullptr;
    std::vector<PtWidget *> children;
    std::unordered_map<long, PtValue> values;
    std::unordered_map<unsigned long, std::vector<PtCallback_t>> callbacks;
    std::vector<PtHotkey> hotkeys;
    std::vector<PtAction> actions;     ///< waiting for the GUI thread
    unsigned long flags = 0;           ///< Pt_ARG_FLAGS
    unsigned dirty = 0;                ///< PtDirty bits
    std::vector<long> changed;         ///< resources changed since the last sync
    int callbacks_running = 0;         ///< callbacks of this widget on the stack: it is freed only at 0
    bool queued = false;               ///< in the list of PtTakeDirty
    bool wants_view = false;           ///< made in code; the GUI thread gives it a view at its next sync
    bool going = false;                ///< its destruction has started
    bool module_root = false;          ///< the root widget of a module instance
    std::unique_ptr<PtTreeState> tree; ///< trees only
    std::unique_ptr<PtView> view;      ///< null before it is shown and after it is destroyed
};

/// Bits in the flags of items, beside the public ones. They may outlive what they tell of, and cost a look then.
constexpr unsigned kPtItemSeen = 1u << 30; ///< the view has read the level below: changes there are told to it
constexpr unsigned kPtItemGrew = 1u << 31; ///< among `grown`

/// The state of a tree beside its items. list.prev of an item is its previous brother (null for the first).
struct PtTreeState {
    PtGenTreeItem_t *first = nullptr, *last = nullptr; ///< root level
    size_t root_count = 0, item_count = 0;
    uint64_t generation = 0; ///< moves with every change in a level that the view may have read, other than rows
                             ///< appended at its end
    size_t appended = 0;     ///< root rows appended at the end since the last sync
    std::vector<PtGenTreeItem_t *> grown; ///< items with rows appended to the level below that the view has read;
                                          ///< good until `generation` moves, emptied by the view
    bool branches_changed = false;        ///< a row that the view has read can be opened now; cleared by the view
    bool texts_changed = false;
    bool selection_changed = false;     ///< by the program
    bool expansion_changed = false;     ///< by the program, or rows came that are open
    PtGenTreeItem_t *current = nullptr; ///< the one selected item
    PtGenTreeItem_t *show = nullptr;    ///< to be scrolled to at the next sync
};

/// Marks a widget for the next sync and wakes the GUI thread.
void PtMarkDirty(PtWidget_t &widget, unsigned bits);

/// The widgets marked since the last call, destroyed ones left out. The GUI thread passes each, in this order, to
/// PtSyncWidget.
std::vector<PtWidget_t *> PtTakeDirty();

/// GUI thread: gives the widget its view when it was made by a worker, syncs the view, carries out waiting actions
/// and clears the marks (dirty, changed, the tree's appended, show and *_changed). Does nothing without a view.
void PtSyncWidget(PtWidget_t &widget);

/// The stored value of a resource, created with its default when it was never set. Null when the class has none.
PtValue *PtValueOf(PtWidget_t &widget, long resource);

/// For views: stores what the user changed. Marks nothing dirty, calls no callback.
void PtStoreString(PtWidget_t &widget, long resource, std::string text);
void PtStoreScalar(PtWidget_t &widget, long resource, long value);
void PtStoreFlags(PtWidget_t &widget, unsigned long bits, unsigned long mask);
void PtStoreArea(PtWidget_t &widget, PhArea_t const &area);
void PtStoreCurrent(PtWidget_t &tree, PtGenTreeItem_t *item); ///< selects it in place of another; null for none
void PtStoreExpanded(PtGenTreeItem_t *item, bool expanded);

/// Calls the widget's callbacks of `type` in the order attached, until one answers other than Pt_CONTINUE. Returns
/// that answer. A widget destroyed on the way stays valid until this returns; the rest of its callbacks is not
/// called.
int PtInvokeCallbacks(PtWidget_t &widget, unsigned long type, unsigned long subtype, PhEvent_t *event, void *cbdata);

/// True when the widget or an ancestor is blocked.
bool PtIsBlocked(PtWidget_t const &widget);

/// Creates a widget without showing it (used by the module loader); default parent rules as PtCreateWidget.
PtWidget_t *PtNewWidget(PtWidgetClassRef_t widget_class, PtWidget_t *parent, std::string name);

/// Gives a widget its view: at once on the GUI thread, else at the next sync.
void PtGiveView(PtWidget_t &widget);

/// Called once for every destroyed widget, after its callbacks (the application-builder runtime forgets it then).
void PtSetDestroyHook(void (*hook)(PtWidget_t &widget));

/// Frees destroyed widgets, at a moment when no callback runs for them nor anywhere on the GUI thread. Called by the
/// GUI thread between events.
void PtFreeDestroyed();

/// All live top-level widgets (windows, menus), in the order of their creation.
std::vector<PtWidget_t *> const &PtTopLevels();
