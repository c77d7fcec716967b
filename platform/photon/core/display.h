#pragma once
// What the core and the application-builder runtime ask of the windowing side. platform/photon/qt implements it;
// tests that need no screen bring a small one of their own.

#include "core/widget.h"

#include <string>
#include <vector>

/// One widget of a module file, parents before their children.
struct PtModuleWidget {
    std::string name; ///< object name = widget name
    PtWidgetClassRef_t widget_class;
    int parent;                    ///< index in the list, -1 for the module's root
    std::vector<PtAction> initial; ///< resources read from the file: texts, ranges, timer values; string arrays as
                                   ///< `text`, separated by LF
    unsigned long flags;           ///< bits to add to the class's initial flags
    void *native;                  ///< the windowing side's own widget, handed back in BindModule
};

/// A module loaded from its file, not yet shown.
struct PtModuleInstance {
    std::vector<PtModuleWidget> widgets;
    void *native = nullptr;
};

class PtDisplay {
  public:
    virtual ~PtDisplay() = default;

    /// Something is dirty: the GUI thread syncs soon. Any thread, lock held; cheap when called often.
    virtual void Wake() = 0;
    /// GUI thread, lock held (by it, or by a worker that waits in PtFlush): syncs and repaints now, no input.
    virtual void Paint() = 0;
    /// GUI thread: makes the view of a widget that did not come from a module file.
    virtual void CreateView(PtWidget_t &widget) = 0;
    /// Any thread, lock held: the widget was destroyed; its view is destroyed on the GUI thread, never under an event
    /// of its own.
    virtual void DestroyView(std::unique_ptr<PtView> view) = 0;

    /// GUI thread: reads the file of a module. False when there is none.
    virtual bool LoadModule(std::string const &module, PtModuleInstance &instance) = 0;
    /// GUI thread: ties the loaded native widgets to the widgets made for them, in the same order.
    virtual void BindModule(PtModuleInstance &instance, std::vector<PtWidget_t *> const &widgets) = 0;
    /// GUI thread: an instance that was loaded and will not be bound is no longer needed.
    virtual void DropModule(PtModuleInstance &instance) { instance.native = nullptr; }
    /// GUI thread: the names in a module's file, for checking link tables. Empty when there is no such file.
    virtual std::vector<std::string> ModuleNames(std::string const &module) = 0;
    /// The image of a widget in a picture module, null when absent; belongs to the display, lives as long as it.
    virtual PhImage_t *ModuleImage(std::string const &module, std::string const &widget) = 0;
    /// GUI thread: gives a widget copied from a picture module what its file says beyond resources: the icon, the
    /// tooltip, the key, the name that is spoken.
    virtual void Dress(PtWidget_t &, std::string const & /*module*/) {}

    /// GUI thread: the first window's geometry and state as the standard options ask ("10", "50%", "20r"; empty: not
    /// given).
    virtual void SetStandardOptions(std::string const &x, std::string const &y, std::string const &w,
                                    std::string const &h, char state) = 0;
    /// GUI thread: a menu is to appear at an event's pointer (null: at the pointer now) when it is realized.
    virtual void PlaceMenu(PtWidget_t &menu, PhEvent_t const *event) = 0;
    virtual void PlaceWindow(PtWidget_t &window, unsigned short location, short x, short y, PtWidget_t *relative) = 0;
    virtual PtWidget_t *GiveFocus(PtWidget_t &widget) = 0;
    virtual void ToFront(PtWidget_t &window) = 0;
    virtual void MakeModal(PtWidget_t &window) = 0;
};

/// The display, set once by PtInit (or by a test). Null before.
PtDisplay *PtTheDisplay();
void PtSetDisplay(PtDisplay *display);
