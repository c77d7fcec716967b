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
        connect(box, &QSpinBox::valueChanged, this, [this](int value) {
            if (!this->widget())
                return;
            PtStoreScalar(*this->widget(), Pt_ARG_NUMERIC_VALUE, value);
            PtStoreString(*this->widget(), Pt_ARG_TEXT_STRING, std::to_string(value));
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
    ProgressView(PtWidget &widget, QProgressBar *bar, bool owned) : View(widget, bar, owned), bar_(bar) {}

  protected:
    void Apply(PtWidget &widget, long resource) override {
        if (resource == Pt_ARG_GAUGE_VALUE) // the range is the module file's
            bar_->setValue(std::clamp(Int(StoredNumber(widget, resource)), bar_->minimum(), bar_->maximum()));
        else
            View::Apply(widget, resource);
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
