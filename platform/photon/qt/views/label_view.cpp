#include "qt/views/image.h"
#include "qt/views/label.h"
#include "qt/views/marked_label.h"
#include "qt/views/text_codec.h"
#include "qt/views/views.h"

namespace {

class LabelView final : public View {
  public:
    LabelView(PtWidget &widget, Label *label, bool owned) : View(widget, label, owned), label_(label) {
        applied_ = (label->buddy() ? PlainLabel(label->text()) : label->text()).toStdString();
        has_picture_ = !label->pixmap().isNull();
        Watch();
    }

  protected:
    void Apply(PtWidget &widget, long resource) override {
        switch (resource) {
        case Pt_ARG_ACCEL_KEY:
            applied_.clear();
            [[fallthrough]];
        case Pt_ARG_TEXT_STRING:
        case Pt_ARG_LABEL_IMAGE:
        case Pt_ARG_LABEL_TYPE:
            Show(widget);
            break;
        case Pt_ARG_TEXT_FONT:
            label_->setFont(FontByName(StoredText(widget, resource), label_->font()));
            break;
        case Pt_ARG_HORIZONTAL_ALIGNMENT:
        case Pt_ARG_VERTICAL_ALIGNMENT:
            label_->setAlignment(Alignment(widget));
            break;
        default:
            View::Apply(widget, resource);
        }
    }

  private:
    static Qt::Alignment Alignment(PtWidget &widget) {
        long const across = StoredNumber(widget, Pt_ARG_HORIZONTAL_ALIGNMENT);
        return Qt::AlignVCenter | (across == Pt_CENTER  ? Qt::AlignHCenter
                                   : across == Pt_RIGHT ? Qt::AlignRight
                                                        : Qt::AlignLeft);
    }

    void Show(PtWidget &widget) {
        auto *image = reinterpret_cast<PhImage *>(StoredNumber(widget, Pt_ARG_LABEL_IMAGE));
        std::string const &text = StoredText(widget, Pt_ARG_TEXT_STRING);
        // A label that was laid out with a picture shows pictures without being told its type.
        bool const picture = StoredNumber(widget, Pt_ARG_LABEL_TYPE) != Pt_Z_STRING || has_picture_ || text.empty();
        if (image && picture) {
            label_->setPixmap(PixmapFor(*image, *label_));
            shows_picture_ = true;
        } else if (text != applied_ || shows_picture_) {
            // A closing line end would only push the text out of the middle.
            std::string_view const lines = std::string_view(text).substr(0, text.find_last_not_of("\r\n") + 1);
            bool const key = !StoredText(widget, Pt_ARG_ACCEL_KEY).empty();
            label_->SetProgramText(!label_->buddy() ? ShownText(lines, TextShape::Lines)
                                   : key            ? MarkedLabel(widget)
                                                    : ShownLabel(lines, TextShape::Lines));
            applied_ = text;
            shows_picture_ = false;
        }
    }

    Label *label_;
    std::string applied_; ///< the text that is shown
    bool has_picture_ = false, shows_picture_ = false;
};

} // namespace

std::unique_ptr<PtView> MakeLabelView(PtWidget &widget, QObject *native, bool owned) {
    return std::make_unique<LabelView>(widget, static_cast<Label *>(native), owned);
}
