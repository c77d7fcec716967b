// Resources, callbacks and the life of widgets.

#include "photon/fixture.h"

namespace {

class Widgets : public ToolkitTest {
  protected:
    PtWidget_t *Make(PtWidgetClassRef_t widget_class) { return PtCreateWidget(widget_class, window_, 0, nullptr); }

    PtWidget_t *const window_ = PtCreateWidget(PtWindow, Pt_NO_PARENT, 0, nullptr);
};

/// A callback that writes its data (a word) into the log.
std::string callback_log;
int Log(PtWidget_t *, void *data, PtCallbackInfo_t *info) {
    char const *const kind = info->reason == Pt_CB_UNREALIZED ? "- " : info->reason == Pt_CB_DESTROYED ? "! " : " ";
    callback_log += std::string(static_cast<char const *>(data)) + kind;
    return Pt_CONTINUE;
}
void *Word(char const *word) { return const_cast<char *>(word); }
std::string TakeLog() { return std::exchange(callback_log, {}); }

TEST_F(Widgets, ResourcesAreCopiedAndReadInPlace) {
    PtWidget_t *label = Make(PtLabel), *bar = Make(PtProgress), *other = nullptr;
    char text[] = "Hello, world";
    EXPECT_EQ(PtSetResource(label, Pt_ARG_TEXT_STRING, text, 7), 0);
    text[0] = 'J';
    EXPECT_EQ(TextOf(label), "Hello, ");
    EXPECT_EQ(PtSetResource(label, Pt_ARG_TEXT_STRING, "Hello, ", 0), -1); // no change
    EXPECT_EQ(PtSetResource(label, Pt_ARG_GAUGE_VALUE, 3, 0), -1);         // no label has it
    EXPECT_EQ(PtSetResource(bar, Pt_ARG_GAUGE_VALUE, 42, 0), 0);
    EXPECT_EQ(Number<short>(bar, Pt_ARG_GAUGE_VALUE), 42); // any width
    PtArg_t arg;
    PtSetArg(&arg, Pt_ARG_GAUGE_VALUE, 0, 0);
    EXPECT_EQ(PtGetResources(bar, 1, &arg), 0); // the short method
    EXPECT_EQ(arg.value, 42);
    PtSetResource(label, Pt_ARG_POINTER, bar, 0);
    EXPECT_EQ(PtGetResource(label, Pt_ARG_POINTER, &other, 0), 0);
    EXPECT_EQ(other, bar);
}

TEST_F(Widgets, FlagsChangeUnderTheirMask) {
    PtWidget_t *toggle = Make(PtToggleButton);
    unsigned long const initial = PtWidgetFlags(toggle);
    EXPECT_EQ(PtSetResource(toggle, Pt_ARG_FLAGS, Pt_TRUE, Pt_BLOCKED | Pt_SET), 0);
    EXPECT_EQ(PtWidgetFlags(toggle), initial | 0x20000 | Pt_SET);
    EXPECT_EQ(PtSetResource(toggle, Pt_ARG_FLAGS, Pt_TRUE, Pt_BLOCKED), -1);
    EXPECT_EQ(PtSetResource(toggle, Pt_ARG_FLAGS, Pt_FALSE, Pt_BLOCKED), 0);
    EXPECT_EQ(Number<unsigned long>(toggle, Pt_ARG_FLAGS), initial | Pt_SET);
    EXPECT_EQ(PtSetResource(toggle, Pt_ARG_FLAGS, Pt_TRUE, Pt_DESTROYED | Pt_REALIZED), -1); // the toolkit's own

    PtSetResource(window_, Pt_ARG_FLAGS, Pt_TRUE, Pt_BLOCKED);
    EXPECT_TRUE(PtIsBlocked(*toggle));
    EXPECT_FALSE(PtIsBlocked(*Make(PtWindow))); // a window of its own
}

TEST_F(Widgets, NumericTextAndNumberAreOne) {
    PtWidget_t *number = Make(PtNumericInteger);
    PtSetResource(number, Pt_ARG_NUMERIC_MIN, 5, 0);
    PtSetResource(number, Pt_ARG_NUMERIC_MAX, 3600, 0);
    for (auto const &[text, value] :
         {std::pair{"500", 500}, {"REMOVEFROMSERVER", 5}, {"99999999999999999999999", 3600}}) {
        SetText(number, text);
        EXPECT_EQ(Number<int>(number, Pt_ARG_NUMERIC_VALUE), value) << text;
        EXPECT_EQ(TextOf(number), std::to_string(value));
    }
}

TEST_F(Widgets, ComboBoxesCountFromOne) {
    PtWidget_t *combo = Make(PtComboBox);
    char const *names[] = {"Inbox", "Saved", "Outbox"};
    EXPECT_EQ(PtSetResource(combo, Pt_ARG_ITEMS, names, 3), 0);
    EXPECT_EQ(PtListSelectPos(combo, 2), 0);
    EXPECT_EQ(TextOf(combo), "Saved");
    SetText(combo, "Outbox");
    EXPECT_EQ(Number<unsigned short>(combo, Pt_ARG_CBOX_SEL_ITEM), 3);
    char const *more[] = {"Drafts"};
    EXPECT_EQ(PtListAddItems(combo, more, 1, 1), 0);
    EXPECT_EQ(Number<unsigned short>(combo, Pt_ARG_CBOX_SEL_ITEM), 4); // still Outbox
    EXPECT_EQ(PtListDeleteAllItems(combo), 0);
    EXPECT_EQ(TextOf(combo), "Outbox");
    EXPECT_EQ(PtListSelectPos(combo, 1), -1); // there is no such item
}

TEST_F(Widgets, ClosingCallsChildrenBeforeTheirContainer) {
    PtWidget_t *pane = Make(PtPane);
    PtWidget_t *inner = PtCreateWidget(PtTree, pane, 0, nullptr);
    PtWidget_t *menu = Make(PtMenu);
    for (auto [widget, word] : {std::pair{window_, "window"}, {pane, "pane"}, {inner, "tree"}, {menu, "menu"}})
        for (unsigned long type : {Pt_CB_REALIZED, Pt_CB_UNREALIZED, Pt_CB_DESTROYED})
            PtAddCallback(widget, type, Log, Word(word));
    EXPECT_EQ(PtRealizeWidget(pane), -1); // comes with its window
    EXPECT_EQ(PtRealizeWidget(window_), 0);
    EXPECT_EQ(TakeLog(), "tree pane window "); // menus only when asked for
    PtWidget_t *late = PtCreateWidget(PtLabel, pane, 0, nullptr);
    EXPECT_FALSE(PtWidgetIsRealized(late));
    EXPECT_EQ(PtRealizeWidget(late), 0);
    EXPECT_EQ(PtTopLevels(), (std::vector<PtWidget_t *>{window_, menu}));
    EXPECT_EQ(PtDestroyWidget(window_), 0);
    EXPECT_EQ(TakeLog(), "tree- pane- window- tree! pane! menu! window! ");
    EXPECT_EQ(PtDestroyWidget(window_), -1);
    EXPECT_TRUE(PtTopLevels().empty());
    EXPECT_TRUE(PtWidgetFlags(inner) & Pt_DESTROYED);
}

TEST_F(Widgets, MayBeDestroyedInTheirOwnCallback) {
    PtWidget_t *button = Make(PtButton);
    QPointer<QWidget> const native(NativeWidget(button));
    auto const destroy_window = [](PtWidget_t *widget, void *, PtCallbackInfo_t *) {
        PtWidget_t *window = widget->parent;
        PtDestroyWidget(window);
        ProcessEventsFor(1); // a nested loop
        EXPECT_TRUE(PtWidgetFlags(widget) & Pt_DESTROYED);
        EXPECT_TRUE(PtWidgetFlags(window) & Pt_DESTROYED); // no other memory goes under a callback either
        EXPECT_EQ(TextOf(widget), "still readable");
        EXPECT_EQ(PtSetResource(widget, Pt_ARG_TEXT_STRING, "and writable", 0), 0);
        return int{Pt_CONTINUE};
    };
    SetText(button, "still readable");
    PtAddCallback(button, Pt_CB_ACTIVATE, destroy_window, nullptr);
    PtAddCallback(button, Pt_CB_ACTIVATE, Log, Word("never"));
    PtInvokeCallbacks(*button, Pt_CB_ACTIVATE, 0, nullptr, nullptr);
    EXPECT_EQ(TakeLog(), "");
    EXPECT_TRUE(ProcessEventsUntil([&] { return native.isNull(); }));
}

TEST_F(Widgets, MayDestroyTheirWindowWhileTheyAreDestroyed) {
    PtWidget_t *pane = Make(PtPane);
    PtWidget_t *button = PtCreateWidget(PtButton, pane, 0, nullptr);
    auto const destroy_window = [](PtWidget_t *, void *inside, PtCallbackInfo_t *) {
        auto *pane = static_cast<PtWidget_t *>(inside);
        EXPECT_EQ(PtCreateWidget(PtLabel, pane, 0, nullptr), nullptr); // nothing is born into what goes
        PtDestroyWidget(pane->parent);
        return int{Pt_CONTINUE};
    };
    PtAddCallback(button, Pt_CB_DESTROYED, destroy_window, pane);
    for (auto [widget, word] : {std::pair{window_, "window"}, {pane, "pane"}, {button, "button"}})
        PtAddCallback(widget, Pt_CB_DESTROYED, Log, Word(word));
    PtRealizeWidget(window_);
    PtDestroyWidget(pane);
    EXPECT_EQ(TakeLog(), "pane! window! button! "); // each once
    EXPECT_TRUE(PtTopLevels().empty());
}

TEST_F(Widgets, DefaultParentFollowsContainers) {
    PtSetParentWidget(window_);
    PtWidget_t *pane = PtCreateWidget(PtPane, Pt_DEFAULT_PARENT, 0, nullptr);
    PtWidget_t *label = PtCreateWidget(PtLabel, Pt_DEFAULT_PARENT, 0, nullptr);
    EXPECT_EQ(label->parent, pane);
    EXPECT_EQ(PtSetParentWidget(label), pane); // the nearest container counts
    EXPECT_EQ(PtCreateWidget(PtText, Pt_DEFAULT_PARENT, 0, nullptr)->parent, pane);
    PtDestroyWidget(pane);
    EXPECT_EQ(PtCreateWidget(PtText, Pt_DEFAULT_PARENT, 0, nullptr)->parent, window_);
    PtDestroyWidget(window_);
    EXPECT_EQ(PtSetParentWidget(nullptr), nullptr);
}

} // namespace
