// Push buttons, tool buttons and toggles.

#include "qt/loop/events.h"
#include "qt/views/image.h"
#include "qt/views/label.h"
#include "qt/views/marked_label.h"
#include "qt/views/text_codec.h"
#include "qt/views/views.h"

#include <QAbstractButton>
#include <QSignalBlocker>

namespace {

class ButtonView final : public View {
  public:
    ButtonView(PtWidget &widget, QAbstractButton *button, bool owned)
        : View(widget, button, owned), button_(button), applied_(PlainLabel(button->text()).toStdString()) {
        connect(button, &QAbstractButton::clicked, this, &ButtonView::Clicked);
    }

  protected:
    void Apply(PtWidget &widget, long resource) override {
        switch (resource) {
        case Pt_ARG_TEXT_STRING:
        case Pt_ARG_ACCEL_KEY:
            if (resource == Pt_ARG_ACCEL_KEY || StoredText(widget, Pt_ARG_TEXT_STRING) != applied_) {
                applied_ = StoredText(widget, Pt_ARG_TEXT_STRING);
                button_->setText(MarkedLabel(widget));
            }
            break;
        case Pt_ARG_LABEL_IMAGE:
            if (auto *image = reinterpret_cast<PhImage *>(StoredNumber(widget, resource)))
                button_->setIcon(QIcon(PixmapFor(*image, *button_)));
            break;
        case Pt_ARG_TEXT_FONT:
            button_->setFont(FontByName(StoredText(widget, resource), button_->font()));
            break;
        default:
            View::Apply(widget, resource);
        }
    }

    void ApplyFlags(PtWidget &widget) override {
        View::ApplyFlags(widget);
        QSignalBlocker const quiet(button_);
        if (button_->isCheckable())
            button_->setChecked(widget.flags & Pt_SET);
        if (PtIsBlocked(widget))
            button_->setDown(false); // its release will not come through
    }

  private:
    void Clicked(bool checked) {
        if (!widget() || PtIsBlocked(*widget()))
            return;
        if (button_->isCheckable())
            PtStoreFlags(*widget(), checked ? Pt_SET : 0, Pt_SET);
        PtBasicCallback_t data{1};
        Call(Pt_CB_ACTIVATE, 0, &data);
    }

    QAbstractButton *button_;
    std::string applied_;
};

} // namespace

std::unique_ptr<PtView> MakeButtonView(PtWidget &widget, QObject *native, bool owned) {
    return std::make_unique<ButtonView>(widget, static_cast<QAbstractButton *>(native), owned);
}
