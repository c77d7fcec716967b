#pragma once
// What all views have in common: a view mirrors one widget's retained state into one Qt object.

#include "core/widget.h"

#include <QAction>
#include <QPointer>
#include <QWidget>

/// Base of all views. Lives on the GUI thread; every member runs under the library lock. The Qt object may be
/// deleted before the view (it belongs to a window that is deleted whole), and the widget before both.
class View : public QObject, public PtView {
  public:
    /// `owned`: the view made the object and deletes it.
    View(PtWidget &widget, QObject *native, bool owned);
    ~View() override;

    void Sync(PtWidget_t &widget) override;
    int Act(PtWidget_t &widget, PtAction const &action) override;

    /// The widget was destroyed: from here on nothing reaches it. Any thread that holds the lock.
    void Detach() { widget_ = nullptr; }
    /// Takes what the user can still see of a destroyed widget off the screen.
    virtual void Vanish();

    PtWidget *widget() const { return widget_; }
    QObject *native() const { return native_; }
    /// The native as a widget; null for an action, and when it was deleted.
    QWidget *native_widget() const { return qobject_cast<QWidget *>(native_); }

    /// The view of a Qt object itself, or of the nearest of its parents that has one. Null for none.
    static View *Of(QObject *object);
    /// The view of a widget, null before it has one.
    static View *Of(PtWidget const &widget);
    /// Where a child with anchors was put, and how large its parent was then: the edges are counted from there, so
    /// that a window that was made smaller than its contents gives every child its old size back.
    struct Anchored {
        QRect place, last; ///< at the start, and as it was placed last
        QSize parent;
    };
    Anchored anchored;

  protected:
    /// Brings one resource up to date.
    virtual void Apply(PtWidget &widget, long resource);
    /// Brings flags (greyed, set) up to date.
    virtual void ApplyFlags(PtWidget &widget);
    virtual void ApplyRealize(PtWidget &widget);
    virtual void ApplyGeometry(PtWidget &widget);

    /// Calls callbacks with the input event that is being delivered. Does nothing when the widget is destroyed or
    /// blocked. Afterwards widget() may be null.
    int Call(unsigned long type, unsigned long subtype = 0, void *cbdata = nullptr);

  private:
    PtWidget *widget_;
    QPointer<QObject> native_;
    QObject *key_; ///< native's address, for the table of views
    bool owned_;
    Qt::FocusPolicy stopped_by_ = Qt::NoFocus; ///< how a widget without Pt_GETS_FOCUS took the focus before
};

/// The text, number or flag that a widget stores.
std::string const &StoredText(PtWidget &widget, long resource);
long StoredNumber(PtWidget &widget, long resource);

/// The Qt widget of a widget, null for none.
QWidget *NativeWidget(PtWidget const *widget);
/// The window that a widget is in, null for none.
PtWidget *WindowOf(PtWidget *widget);
