#pragma once
// The toolkit's display over Qt.

#include "core/display.h"
#include "qt/views/geometry.h"
#include "qt/views/image.h"

#include <QPointer>
#include <QWidget>

#include <map>

class QtDisplay final : public PtDisplay {
  public:
    static QtDisplay &The();

    void Wake() override;
    void Paint() override;
    void CreateView(PtWidget_t &widget) override;
    void DestroyView(std::unique_ptr<PtView> view) override;
    bool LoadModule(std::string const &module, PtModuleInstance &instance) override;
    void BindModule(PtModuleInstance &instance, std::vector<PtWidget_t *> const &widgets) override;
    void DropModule(PtModuleInstance &instance) override;
    std::vector<std::string> ModuleNames(std::string const &module) override;
    PhImage_t *ModuleImage(std::string const &module, std::string const &widget) override;
    void Dress(PtWidget_t &widget, std::string const &module) override;
    void SetStandardOptions(std::string const &x, std::string const &y, std::string const &w, std::string const &h,
                            char state) override;
    void PlaceMenu(PtWidget_t &menu, PhEvent_t const *event) override;
    void PlaceWindow(PtWidget_t &window, unsigned short location, short x, short y, PtWidget_t *relative) override;
    PtWidget_t *GiveFocus(PtWidget_t &widget) override;
    void ToFront(PtWidget_t &window) override;
    void MakeModal(PtWidget_t &window) override;

    /// The standard options, once: they are the first window's.
    StandardOptions TakeStandardOptions();

    void Vanish(); ///< takes destroyed windows off the screen
    void Bury();   ///< deletes views that wait for it

  private:
    struct Buried {
        std::unique_ptr<PtView> view;
        bool vanished;
    };
    std::vector<Buried> graveyard_;
    std::map<std::string, std::unique_ptr<PhImage>> images_; ///< by "module/widget"
    std::map<std::string, QPointer<QWidget>> patterns_;      ///< picture modules, never shown; the application's end
                                                             ///< takes them along
    StandardOptions options_;
};
