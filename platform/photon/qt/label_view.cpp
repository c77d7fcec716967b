#include "qt/image.h"
#include "qt/label.h"
#include "qt/labels.h"
#include "qt/text_codec.h"
#include "qt/views.h"

#include <QPainter>
#include <QStyle>

void Label::SetProgramText(QString const &text) {
    if (!program_text_)
        designed_width_ = QLabel::minimumSizeHint().width();
    program_text_ = true;
    setText(text);
}

QSize Label::minimumSizeHint() const {
    QSize hint = QLabel::minimumSizeHint();
    if (Elides())
        hint.setWidth(std::min(hint.width(), designed_width_));
    return hint;
}

void Label::paintEvent(QPaintEvent *event) {
    QRect const area = contentsRect().marginsRemoved(QMargins(margin(), margin(), margin(), margin()));
    if (!Elides() || fontMetrics().horizontalAdvance(text()) <= area.width()) {
        QLabel::paintEvent(event);
        return;
    }
    QPainter painter(this);
    drawFrame(&painter);
    style()->drawItemText(&painter, area, static_cast<int>(alignment()), palette(), isEnabled(),
                          fontMetrics().elidedText(text(), Qt::ElideRight, area.width()), foregroundRole());
}

QFont FontByName(std::string const &name, QFont base) {
    size_t const style = name.find_last_of("0123456789");
    if (style == std::string::npos)
        return base;
    base.setBold(name.find('b', style) != std::string::npos);
    base.setItalic(name.find('i', style) != std::string::npos);
    return base;
}

QString PlainLabel(QString text) {
    for (qsizetype at = text.indexOf(QLatin1Char('&')); at >= 0; at = text.indexOf(QLatin1Char('&'), at + 1))
        text.remove(at, 1);
    return text;
}

QString MarkedLabel(PtWidget &widget) {
    QString text = ShownLabel(StoredText(widget, Pt_ARG_TEXT_STRING), TextShape::Row);
    QString const key = ShownText(StoredText(widget, Pt_ARG_ACCEL_KEY), TextShape::Line);
    qsizetype const at = key.isEmpty() ? -1 : text.indexOf(key.at(0), 0, Qt::CaseInsensitive);
    if (at >= 0 && key.at(0) != QLatin1Char('&'))
        text.insert(at, QLatin1Char('&'));
    return text;
}

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
