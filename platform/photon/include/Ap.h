#pragma once
// The application-builder runtime: modules (from .ui files), link tables, picture modules.

#include "Pt.h"

enum ApModuleKind { ApWindow, ApDialog, ApMenu, ApPicture };

enum { ABR_CODE = 1, ABR_DONE, ABR_CANCEL, ABR_PRE_REALIZE, ABR_POST_REALIZE };

struct ApInfo_t {
    PtWidget_t *widget; ///< what caused it; for a module created in code the widget argument of ApCreateModule
    int reason;         ///< ABR_...
};

typedef int (*ApCallback_t)(PtWidget_t *widget, ApInfo_t *apinfo, PtCallbackInfo_t *cbinfo);

/// Where a new instance appears.
enum { ApLocCentered, ApLocRelativeWidget, ApLocPointer, ApLocAbsolute };

/// A module: its name (the .ui file's), its kind, and what opening it does.
struct ApEventLink_t {
    char const *module;
    ApModuleKind kind;
    ApCallback_t setup = nullptr; ///< called before the module is realized (ABR_PRE_REALIZE)
    unsigned short location = ApLocCentered;
    short x_offset = 0, y_offset = 0;
};

enum ApLinkKind {
    ApLinkCode,   ///< calls the function
    ApLinkDone,   ///< calls the function (may be null) and closes the module that the widget sits in
    ApLinkCancel, ///< the same with reason ABR_CANCEL
    ApLinkModule  ///< opens `module`
};

/// One row of a link table: which callback of which widget does what.
struct ApLink_t {
    char const *widget;
    unsigned long callback; ///< a Pt_CB_... number
    ApLinkKind kind;
    ApCallback_t function;
    ApEventLink_t *module;
};

/// The link table of one module.
struct ApLinkTable_t {
    char const *module;
    ApLink_t const *links;
    int count;
};

/// What a program is made of; one per program.
struct ApContext_t {
    long state;                      ///< cleared by main before ApInitialize
    char const *const *widget_names; ///< by number, entry 0 null
    PtWidget_t **widgets;            ///< by number, kept by the runtime
    int widget_count;                ///< with entry 0
    ApLinkTable_t const *link_tables;
    int link_table_count;
};

extern ApContext_t AbContext;

typedef struct ApDBase ApDBase_t;

/// Starts the toolkit (PtInit) and takes the standard options: -x -y -w -h -S for the first window, -s accepted and
/// ignored (there is one display). argv is left alone. Returns 0, or -1 when a link table names a module or widget
/// that does not exist; standard error then says which.
int ApInitialize(int argc, char **argv, ApContext_t *context);

/// Opens a window module and returns its window; null on failure. `widget` reaches the setup function.
PtWidget_t *ApLinkWindow(PtWidget_t *widget, ApEventLink_t const *link, PtCallbackInfo_t *cbinfo);

/// Creates and shows a module: a window, a dialog (an open one comes to the front instead), a menu (at the pointer
/// when `cbinfo` has a pointer event). A new module belongs to the first window and goes with it. Returns the
/// module's widget, null on failure or when the setup function answers other than Pt_CONTINUE. GUI thread only.
PtWidget_t *ApCreateModule(ApEventLink_t const *link, PtWidget_t *widget, PtCallbackInfo_t *cbinfo);

/// Changes where later instances appear. Returns 0.
int ApModuleLocation(ApEventLink_t *link, unsigned short location, short x_offset, short y_offset);

/// Opens a picture module as a widget database; null on failure. It stays open. GUI thread only.
ApDBase_t *ApOpenDBase(ApEventLink_t const *link);

/// Copies one widget of the database as a child of the current default parent. `args` override its resources;
/// negative x and y keep its position. To be realized explicitly when the parent already is. Null when absent. The
/// first call for a database reads its widgets and belongs on the GUI thread.
PtWidget_t *ApCreateWidget(ApDBase_t const *db, char const *name, int x, int y, int n_args, PtArg_t const *args);

/// The image of the named widget in the database, null when absent. Belongs to the database.
PhImage_t *ApGetImageRes(ApDBase_t const *db, char const *name);
