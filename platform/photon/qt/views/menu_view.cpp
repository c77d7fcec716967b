#include "qt/views/menu_view.h"

#include "qt/loop/application.h"
#include "qt/loop/events.h"
#include "qt/views/image.h"
#include "qt/views/marked_label.h"
#include "qt/views/text_codec.h"
#include "qt/views/views.h"

#include <QCursor>

namespace {

class MenuButtonView final : public View {
  public:
    MenuButtonView(PtWidget &widget, QAction *entry, bool owned)
        : View(widget, entry, owned), entry_(entry), applied_(PlainLabel(entry->text()).toStdString()) {
        connect(entry, &QAction::triggered, this, &MenuButtonView::Triggered);
    }

    void Vanish() override { entry_->setVisible(false); }

  protected:
    void Apply(PtWidget &widget, long resource) override {
        switch (resource) {
        case Pt_ARG_TEXT_STRING:
        case Pt_ARG_ACCEL_KEY:
            if (resource != Pt_ARG_TEXT_STRING || StoredText(widget, resource) != applied_) {
                applied_ = StoredText(widget, Pt_ARG_TEXT_STRING);
                entry_->setText(MarkedLabel(widget));
            }
            break;
        case Pt_ARG_LABEL_IMAGE:
            if (auto *image = reinterpret_cast<PhImage *>(StoredNumber(widget, resource)))
                entry_->setIcon(QIcon(image->path));
            break;
        default:
            break;
        }
    }

    void ApplyFlags(PtWidget &widget) override {
        entry_->setEnabled(!(widget.flags & Pt_GHOST));
        entry_->setCheckable((widget.flags & Pt_TOGGLE) || entry_->isCheckable());
        if (entry_->isCheckable())
            entry_->setChecked(widget.flags & Pt_SET);
    }
    void ApplyRealize(PtWidget &) override {}
    void ApplyGeometry(PtWidget &) override {}

  private:
    void Triggered(bool checked) {
        if (!widget() || PtIsBlocked(*widget()))
            return;
        if (entry_->isCheckable())
            PtStoreFlags(*widget(), checked ? Pt_SET : 0, Pt_SET);
        PtBasicCallback_t data{1};
        Call(Pt_CB_ACTIVATE, 0, &data);
    }

    QPointer<QAction> entry_;
    std::string applied_;
};

} // namespace

MenuView::MenuView(PtWidget &widget, QMenu *menu, bool owned) : View(widget, menu, owned), menu_(menu) {
    connect(menu, &QMenu::aboutToHide, this, &MenuView::Hidden);
}

bool MenuView::StandsAlone() const {
    PtWidget const *parent = widget() ? widget()->parent : nullptr;
    return !parent || !(PtClassIsA(parent->widget_class, PtMenu) || PtClassIsA(parent->widget_class, PtMenuBar) ||
                        PtClassIsA(parent->widget_class, PtMenuButton));
}

void MenuView::Place(PhEvent_t const *event) {
    QWidget *parent = widget() && widget()->parent ? NativeWidget(widget()->parent) : nullptr;
    if (event && (event->type == Ph_EV_BUT_PRESS || event->type == Ph_EV_BUT_RELEASE))
        place_ = QPoint(event->pointer.pos.x, event->pointer.pos.y);
    else if (event && parent)
        place_ = parent->mapToGlobal(QPoint(0, 0));
    else
        place_ = QCursor::pos();
}

void MenuView::ApplyFlags(PtWidget &widget) { menu_->menuAction()->setEnabled(!(widget.flags & Pt_GHOST)); }

void MenuView::ApplyRealize(PtWidget &widget) {
    if (!StandsAlone())
        return;
    if (!(widget.flags & Pt_REALIZED))
        menu_->hide();
    else if (!menu_->isVisible())
        menu_->popup(place_.value_or(QCursor::pos()));
}

void MenuView::Hidden() {
    // The chosen entry's callback comes only after this.
    QPointer<MenuView> const self(this);
    TheApplication()->Post([self] {
        if (self)
            self->Closed();
    });
}

void MenuView::Closed() {
    if (!widget() || !StandsAlone() || menu_->isVisible() || !(widget()->flags & Pt_REALIZED))
        return;
    if (widget()->module_root)
        PtDestroyWidget(widget());
    else
        PtUnrealizeWidget(widget());
}

std::unique_ptr<PtView> MakeMenuView(PtWidget &widget, QObject *native, bool owned) {
    return std::make_unique<MenuView>(widget, static_cast<QMenu *>(native), owned);
}

std::unique_ptr<PtView> MakeMenuButtonView(PtWidget &widget, QObject *native, bool owned) {
    return std::make_unique<MenuButtonView>(widget, static_cast<QAction *>(native), owned);
}
