#include "qt/views/views.h"

#include "photon/PtWebClient.h"
#include "qt/views/label.h"
#include "qt/views/tree_frame.h"
#include "qt/web/web_view.h"

#include <QCheckBox>
#include <QComboBox>
#include <QFrame>
#include <QLineEdit>
#include <QMenu>
#include <QMenuBar>
#include <QPlainTextEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QSpinBox>

#include <climits>

std::unique_ptr<PtView> MakeView(PtWidget &widget, QObject *native, bool owned) {
    PtWidgetClassRef_t const type = widget.widget_class;
    if (PtClassIsA(type, PtWebClient))
        return MakeWebView(widget, static_cast<QWidget *>(native));
    if (PtClassIsA(type, PtTimer))
        return MakeTimerView(widget, native, owned);
    if (PtClassIsA(type, PtWindow))
        return MakeWindowView(widget, native, owned);
    if (PtClassIsA(type, PtMenu))
        return MakeMenuView(widget, native, owned);
    if (PtClassIsA(type, PtMenuButton))
        return MakeMenuButtonView(widget, native, owned);
    if (PtClassIsA(type, PtTree))
        return MakeTreeView(widget, native, owned);
    if (PtClassIsA(type, PtComboBox))
        return MakeComboView(widget, native, owned);
    if (PtClassIsA(type, PtNumericInteger))
        return MakeNumericView(widget, native, owned);
    if (PtClassIsA(type, PtMultiText))
        return MakeMultiTextView(widget, native, owned);
    if (PtClassIsA(type, PtText))
        return MakeTextView(widget, native, owned);
    if (PtClassIsA(type, PtProgress))
        return MakeProgressView(widget, native, owned);
    if (PtClassIsA(type, PtButton))
        return MakeButtonView(widget, native, owned);
    if (PtClassIsA(type, PtLabel))
        return MakeLabelView(widget, native, owned);
    return MakePaneView(widget, native, owned);
}

namespace {

/// An entry of a menu or a menu bar; a separator for the separator class.
QObject *NewEntry(PtWidget &widget, QWidget *menu) {
    auto *entry = new QAction(menu);
    entry->setSeparator(PtClassIsA(widget.widget_class, PtSeparator));
    menu->addAction(entry);
    return entry;
}

QObject *NewMenu(PtWidget &widget, QWidget *parent) {
    auto *menu = new QMenu(parent);
    View *above = widget.parent ? View::Of(*widget.parent) : nullptr;
    if (auto *button = above ? qobject_cast<QAction *>(above->native()) : nullptr)
        button->setMenu(menu);
    else if (auto *outer = above ? qobject_cast<QMenu *>(above->native()) : nullptr)
        outer->addMenu(menu);
    return menu;
}

QObject *NewSpinBox(QWidget *parent) {
    auto *box = new QSpinBox(parent);
    box->setRange(INT_MIN, INT_MAX);
    return box;
}

QObject *NewSeparator(QWidget *parent) {
    auto *line = new QFrame(parent);
    line->setFrameShape(QFrame::HLine);
    return line;
}

} // namespace

QObject *NativeFor(PtWidget &widget) {
    PtWidgetClassRef_t const type = widget.widget_class;
    QWidget *parent = widget.parent ? NativeWidget(widget.parent) : nullptr;
    if (PtClassIsA(type, PtWindow))
        return new QWidget;
    if (PtClassIsA(type, PtTimer))
        return new QObject;
    if (PtClassIsA(type, PtMenu))
        return NewMenu(widget, parent);
    if (PtClassIsA(type, PtMenuButton) || (PtClassIsA(type, PtSeparator) && qobject_cast<QMenu *>(parent)))
        return parent ? NewEntry(widget, parent) : nullptr;
    if (PtClassIsA(type, PtMenuBar))
        return new QMenuBar(parent);
    if (PtClassIsA(type, PtWebClient))
        return NewWebBrowser(parent);
    if (PtClassIsA(type, PtTree))
        return new TreeFrame(parent);
    if (PtClassIsA(type, PtComboBox))
        return new QComboBox(parent);
    if (PtClassIsA(type, PtNumericInteger))
        return NewSpinBox(parent);
    if (PtClassIsA(type, PtMultiText))
        return new QPlainTextEdit(parent);
    if (PtClassIsA(type, PtText))
        return new QLineEdit(parent);
    if (PtClassIsA(type, PtProgress))
        return new QProgressBar(parent);
    if (PtClassIsA(type, PtToggleButton))
        return new QCheckBox(parent);
    if (PtClassIsA(type, PtButton))
        return new QPushButton(parent);
    if (PtClassIsA(type, PtLabel))
        return new Label(parent);
    if (PtClassIsA(type, PtSeparator))
        return NewSeparator(parent);
    return new QFrame(parent);
}
