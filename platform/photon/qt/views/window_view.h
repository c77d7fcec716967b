#pragma once
// Windows: their place on the screen and what happens when the user closes one.

#include "qt/views/view.h"

#include <QPoint>

class WindowView final : public View {
  public:
    WindowView(PtWidget &widget, QWidget *window, bool owned);

    /// Where the window appears (ApLoc...), at its first realizing.
    void Place(unsigned short location, QPoint offset, PtWidget *relative);
    /// Blocks all other windows of the program as long as this one is shown.
    void MakeModal();

  protected:
    void Apply(PtWidget &widget, long resource) override;
    void ApplyFlags(PtWidget &) override {}
    void ApplyRealize(PtWidget &widget) override;
    void ApplyGeometry(PtWidget &widget) override;
    bool eventFilter(QObject *object, QEvent *event) override;

  private:
    void ShowFirst();
    void Closed();
    void StoreArea();

    QWidget *window_;
    unsigned short location_;
    QPoint offset_;
    QPointer<QWidget> relative_;
    bool shown_ = false;
    bool syncing_ = false;
};
