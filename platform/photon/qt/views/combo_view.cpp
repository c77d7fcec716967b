#include "qt/views/text_codec.h"
#include "qt/views/views.h"

#include <QComboBox>
#include <QSignalBlocker>

namespace {

class ComboView final : public View {
  public:
    ComboView(PtWidget &widget, QComboBox *box, bool owned) : View(widget, box, owned), box_(box) {
        connect(box, &QComboBox::activated, this, &ComboView::Chosen);
        connect(box, &QComboBox::editTextChanged, this, [this](QString const &text) {
            if (this->widget() && this->box_->isEditable() &&
                text != ShownText(StoredText(*this->widget(), Pt_ARG_TEXT_STRING), TextShape::Line))
                PtStoreString(*this->widget(), Pt_ARG_TEXT_STRING, text.toStdString());
        });
    }

  protected:
    void Apply(PtWidget &widget, long resource) override {
        QSignalBlocker const quiet(box_);
        switch (resource) {
        case Pt_ARG_ITEMS: {
            box_->clear();
            if (PtValue const *items = PtValueOf(widget, resource))
                for (std::string const &item : items->items)
                    box_->addItem(ShownText(item, TextShape::Row));
            ShowChoice(widget);
            break;
        }
        case Pt_ARG_CBOX_SEL_ITEM:
        case Pt_ARG_TEXT_STRING:
            ShowChoice(widget);
            break;
        case Pt_ARG_TEXT_FLAGS:
            box_->setEditable(StoredNumber(widget, resource) & Pt_EDITABLE);
            ShowChoice(widget);
            break;
        default:
            View::Apply(widget, resource);
        }
    }

  private:
    void ShowChoice(PtWidget &widget) {
        box_->setCurrentIndex(static_cast<int>(StoredNumber(widget, Pt_ARG_CBOX_SEL_ITEM)) - 1);
        if (box_->isEditable())
            box_->setEditText(ShownText(StoredText(widget, Pt_ARG_TEXT_STRING), TextShape::Line));
    }

    void Chosen(int index) {
        if (!widget() || index < 0)
            return;
        if (PtIsBlocked(*widget()))
            return;
        PtValue const *items = PtValueOf(*widget(), Pt_ARG_ITEMS);
        if (!items || static_cast<size_t>(index) >= items->items.size())
            return;
        std::string item = items->items[static_cast<size_t>(index)];
        PtStoreString(*widget(), Pt_ARG_TEXT_STRING, item);
        PtStoreScalar(*widget(), Pt_ARG_CBOX_SEL_ITEM, index + 1);
        auto position = static_cast<unsigned short>(index + 1);
        PtListCallback_t data{
            Pt_BROWSE_MODE, item.data(), static_cast<unsigned>(item.size()), position, 1, &position, 1};
        Call(Pt_CB_SELECTION, 0, &data);
    }

    QComboBox *box_;
};

} // namespace

std::unique_ptr<PtView> MakeComboView(PtWidget &widget, QObject *native, bool owned) {
    return std::make_unique<ComboView>(widget, static_cast<QComboBox *>(native), owned);
}
