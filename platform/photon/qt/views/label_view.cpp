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
    }

  protected:
    void Apply(PtWidget &widget, long resource) override {
        switch (resource) {
        case Pt_ARG_ACCEL_KEY:
            applied_.clear();
            [[fallthrough]];
        case Pt_ARG_TEXT_STRING:
        case Pt_ARG_LABEL_IMAGE:
            Show(widget);
            break;
        case Pt_ARG_TEXT_FONT:
            label_->setFont(FontByName(StoredText(widget, resource), label_->font()));
            break;
        default:
            View::Apply(widget, resource);
        }
    }

  private:
    void Show(PtWidget &widget) {
        auto *image = reinterpret_cast<PhImage *>(StoredNumber(widget, Pt_ARG_LABEL_IMAGE));
        std::string const &text = StoredText(widget, Pt_ARG_TEXT_STRING);
        // A picture is for a label that was laid out with one, or has no text.
        if (image && (has_picture_ || text.empty())) {
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
