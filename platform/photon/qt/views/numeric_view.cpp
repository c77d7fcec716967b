// Numbers with arrows, and progress bars.

#include "qt/views/views.h"

#include <QProgressBar>
#include <QSignalBlocker>
#include <QSpinBox>

#include <algorithm>
#include <climits>

namespace {

int Int(long value) { return static_cast<int>(std::clamp(value, long{INT_MIN}, long{INT_MAX})); }

class NumericView final : public View {
  public:
    NumericView(PtWidget &widget, QSpinBox *box, bool owned) : View(widget, box, owned), box_(box) {
        Watch();
        connect(box, &QSpinBox::valueChanged, this, [this](int value) {
            if (!this->widget())
                return;
            PtStoreScalar(*this->widget(), Pt_ARG_NUMERIC_VALUE, value);
            PtStoreString(*this->widget(), Pt_ARG_TEXT_STRING, std::to_string(value));
            PtNumericIntegerCallback_t data{value};
            Call(Pt_CB_NUMERIC_CHANGED, 0, &data);
        });
    }

  protected:
    void Apply(PtWidget &widget, long resource) override {
        QSignalBlocker const quiet(box_);
        switch (resource) {
        case Pt_ARG_NUMERIC_MIN:
            box_->setMinimum(Int(StoredNumber(widget, resource)));
            break;
        case Pt_ARG_NUMERIC_MAX:
            box_->setMaximum(Int(StoredNumber(widget, resource)));
            break;
        case Pt_ARG_NUMERIC_INCREMENT:
            box_->setSingleStep(Int(StoredNumber(widget, resource)));
            break;
        case Pt_ARG_NUMERIC_VALUE:
        case Pt_ARG_TEXT_STRING:
            break;
        default:
            View::Apply(widget, resource);
            return;
        }
        box_->setValue(Int(StoredNumber(widget, Pt_ARG_NUMERIC_VALUE)));
    }

  private:
    QSpinBox *box_;
};

class ProgressView final : public View {
  public:
    ProgressView(PtWidget &widget, QProgressBar *bar, bool owned) : View(widget, bar, owned), bar_(bar) { Watch(); }

  protected:
    void Apply(PtWidget &widget, long resource) override {
        if (resource == Pt_ARG_MINIMUM || resource == Pt_ARG_MAXIMUM || resource == Pt_ARG_GAUGE_VALUE) {
            long const low = StoredNumber(widget, Pt_ARG_MINIMUM);
            long const high = std::max(low, StoredNumber(widget, Pt_ARG_MAXIMUM));
            bar_->setRange(Int(low), Int(high));
            bar_->setValue(Int(std::clamp(StoredNumber(widget, Pt_ARG_GAUGE_VALUE), low, high)));
        } else {
            View::Apply(widget, resource);
        }
    }

  private:
    QProgressBar *bar_;
};

} // namespace

std::unique_ptr<PtView> MakeNumericView(PtWidget &widget, QObject *native, bool owned) {
    return std::make_unique<NumericView>(widget, static_cast<QSpinBox *>(native), owned);
}

std::unique_ptr<PtView> MakeProgressView(PtWidget &widget, QObject *native, bool owned) {
    return std::make_unique<ProgressView>(widget, static_cast<QProgressBar *>(native), owned);
}
