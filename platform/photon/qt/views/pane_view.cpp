// Containers without a look of their own, separators, menu bars; children placed by hand follow their edges.

#include "qt/views/geometry.h"
#include "qt/views/views.h"

#include <QResizeEvent>

namespace {

class PaneView final : public View {
  public:
    PaneView(PtWidget &widget, QWidget *pane, bool owned) : View(widget, pane, owned) {
        pane->installEventFilter(this);
    }

  protected:
    bool eventFilter(QObject *object, QEvent *event) override {
        if (event->type() == QEvent::Resize && object == native() && widget()) {
            auto const *resize = static_cast<QResizeEvent *>(event);
            FollowParent(*widget(), resize->oldSize(), resize->size());
        }
        return View::eventFilter(object, event);
    }
};

} // namespace

std::unique_ptr<PtView> MakePaneView(PtWidget &widget, QObject *native, bool owned) {
    return std::make_unique<PaneView>(widget, static_cast<QWidget *>(native), owned);
}
