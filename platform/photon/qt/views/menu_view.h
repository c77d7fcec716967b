#pragma once
// Menus and their entries.

#include "qt/views/view.h"

#include <QMenu>
#include <QPoint>

#include <optional>

/// A menu in a menu bar or inside another menu opens by itself; one that stands alone opens where it was placed when
/// it is realized, and unrealizes when an entry was chosen or the user went elsewhere. One that came from a module
/// file is destroyed then.
class MenuView final : public View {
  public:
    MenuView(PtWidget &widget, QMenu *menu, bool owned);

    /// Where the menu appears: at a pointer event, at its parent, or at the pointer now.
    void Place(PhEvent_t const *event);

  protected:
    void ApplyFlags(PtWidget &widget) override;
    void ApplyRealize(PtWidget &widget) override;
    void ApplyGeometry(PtWidget &) override {}

  private:
    bool StandsAlone() const;
    void Hidden();
    void Closed();

    QMenu *menu_;
    std::optional<QPoint> place_;
};
