#pragma once
// A display without a screen for tests of the toolkit's core: views that remember what they were told, and a main
// loop with the rules of the real one (the lock is held while something is delivered, and only then).

#include "core/display.h"
#include "core/lock.h"

#include <condition_variable>
#include <deque>
#include <functional>
#include <gtest/gtest.h>
#include <map>
#include <mutex>

struct FakeView : PtView {
    explicit FakeView(bool *gone = nullptr) : gone_(gone) {}
    ~FakeView() override {
        if (gone_)
            *gone_ = true;
    }
    void Sync(PtWidget_t &widget) override;
    int Act(PtWidget_t &widget, PtAction const &action) override;

    std::string text;              ///< Pt_ARG_TEXT_STRING as last synced
    std::vector<long> changed;     ///< of the last sync
    size_t rows = 0, appended = 0; ///< of the last sync
    std::vector<PtAction> acted;
    bool *gone_;
};

class FakeDisplay : public PtDisplay {
  public:
    void Wake() override;
    void Paint() override;
    void CreateView(PtWidget_t &widget) override;
    void DestroyView(std::unique_ptr<PtView> view) override;
    bool LoadModule(std::string const &module, PtModuleInstance &instance) override;
    void BindModule(PtModuleInstance &instance, std::vector<PtWidget_t *> const &widgets) override;
    std::vector<std::string> ModuleNames(std::string const &module) override;
    PhImage_t *ModuleImage(std::string const &, std::string const &) override { return nullptr; }
    void SetStandardOptions(std::string const &x, std::string const &y, std::string const &w, std::string const &h,
                            char state) override;
    void PlaceMenu(PtWidget_t &menu, PhEvent_t const *event) override;
    void PlaceWindow(PtWidget_t &, unsigned short, short, short, PtWidget_t *) override {}
    PtWidget_t *GiveFocus(PtWidget_t &widget) override { return &widget; }
    void ToFront(PtWidget_t &window) override { front = &window; }
    void MakeModal(PtWidget_t &) override {}

    /// Runs `work` in the main loop, under the lock. Any thread.
    void Post(std::function<void()> work);
    /// One turn of the loop: waits for something to do and delivers it. The caller holds the lock.
    void Turn();
    /// Runs the main loop until `done` (asked under the lock) is true.
    void RunUntil(std::function<bool()> const &done);

    std::map<std::string, std::vector<PtModuleWidget>> modules;
    std::vector<std::string> options; ///< x, y, w, h, state
    PtWidget_t *front = nullptr;
    PhEvent_t const *menu_event = nullptr;
    int paints = 0;

  private:
    void Deliver();

    std::mutex mutex_;
    std::condition_variable wake_;
    bool woken_ = false;
    std::deque<std::function<void()>> posted_;
    std::vector<std::unique_ptr<PtView>> buried_;
};

/// The display of this test program; PtInit sets it.
FakeDisplay &Fake();
inline FakeView &ViewOf(PtWidget_t *widget) { return static_cast<FakeView &>(*widget->view); }

/// Destroys every widget that a test left and frees it.
void CleanUp();

/// The toolkit, started before a test and cleaned up behind it.
class CoreTest : public testing::Test {
  protected:
    CoreTest() { EXPECT_EQ(PtInit(nullptr), 0); }
    ~CoreTest() override { CleanUp(); }
};
