// The application-builder runtime: link tables, modules, the widget table, databases.

#include "Ap.h"
#include "photon/fake_display.h"

#include <gtest/gtest.h>

namespace {

enum { ABN_base = 1, ABN_btnOpen, ABN_dlgAbout, ABN_btnClose, ABN_mnuRow, ABN_mnuRow_Delete, kCount };
char const *const kNames[kCount] = {nullptr, "base", "btnOpen", "dlgAbout", "btnClose", "mnuRow", "mnuRow_Delete"};
PtWidget_t *widgets[kCount];

int setup_answer = Pt_CONTINUE;
std::string events;

int Setup(PtWidget_t *root, ApInfo_t *info, PtCallbackInfo_t *) {
    EXPECT_EQ(info->reason, ABR_PRE_REALIZE);
    EXPECT_FALSE(PtWidgetIsRealized(root));
    EXPECT_NE(root->view, nullptr);
    events += "setup ";
    return setup_answer;
}
int OnRealized(PtWidget_t *, ApInfo_t *info, PtCallbackInfo_t *) {
    EXPECT_EQ(info->reason, ABR_CODE);
    events += "realized ";
    return Pt_CONTINUE;
}
int OnClose(PtWidget_t *widget, ApInfo_t *info, PtCallbackInfo_t *) {
    EXPECT_EQ(info->reason, ABR_DONE);
    EXPECT_EQ(info->widget, widget);
    events += "close ";
    return Pt_CONTINUE;
}
int OnGone(PtWidget_t *, ApInfo_t *, PtCallbackInfo_t *) {
    EXPECT_NE(widgets[ABN_dlgAbout], nullptr); // until its own callbacks have run
    events += "gone ";
    return Pt_CONTINUE;
}

ApEventLink_t base{"base", ApWindow}, about{"dlgAbout", ApDialog, Setup}, row_menu{"mnuRow", ApMenu},
    pictures{"pictures", ApPicture};

ApLink_t const kBaseLinks[] = {{"btnOpen", Pt_CB_ACTIVATE, ApLinkModule, nullptr, &about},
                               {"base", Pt_CB_REALIZED, ApLinkCode, OnRealized, nullptr}};
ApLink_t const kAboutLinks[] = {{"btnClose", Pt_CB_ACTIVATE, ApLinkDone, OnClose, nullptr},
                                {"dlgAbout", Pt_CB_DESTROYED, ApLinkCode, OnGone, nullptr}};
ApLinkTable_t const kTables[] = {{"base", kBaseLinks, 2}, {"dlgAbout", kAboutLinks, 2}};

class Modules : public testing::Test {
  protected:
    void SetUp() override {
        events.clear();
        setup_answer = Pt_CONTINUE;
        auto text = [](char const *words) { return PtAction{Pt_ARG_TEXT_STRING, 0, 0, words}; };
        Fake().modules["base"] = {{"base", PtWindow, -1, {}, 0, nullptr},
                                  {"btnOpen", PtButton, 0, {text("&Open")}, Pt_BLOCKED, nullptr},
                                  {"combo", PtComboBox, 0, {{Pt_ARG_ITEMS, 0, 0, "one\ntwo"}}, 0, nullptr}};
        Fake().modules["dlgAbout"] = {{"dlgAbout", PtWindow, -1, {}, 0, nullptr},
                                      {"btnClose", PtButton, 0, {}, 0, nullptr}};
        Fake().modules["mnuRow"] = {{"mnuRow", PtMenu, -1, {}, 0, nullptr},
                                    {"mnuRow_Delete", PtMenuButton, 0, {}, 0, nullptr}};
        Fake().modules["pictures"] = {{"pictures", PtWindow, -1, {}, 0, nullptr},
                                      {"pic_subject", PtText, 0, {text("subject")}, 0, nullptr}};
        context_ = {0, kNames, widgets, kCount, kTables, 2};
    }
    void TearDown() override { CleanUp(); }
    int Start(std::vector<char const *> arguments = {"test"}) {
        return ApInitialize(static_cast<int>(arguments.size()), const_cast<char **>(arguments.data()), &context_);
    }
    static void Click(PtWidget_t *widget) { PtInvokeCallbacks(*widget, Pt_CB_ACTIVATE, 0, nullptr, nullptr); }

    ApContext_t context_{};
};

} // namespace

TEST_F(Modules, WrongNamesInLinkTablesAreRefused) {
    ApLink_t const unknown[] = {{"btnOepn", Pt_CB_ACTIVATE, ApLinkCode, OnClose, nullptr}};
    ApLinkTable_t const wrong_widget[] = {{"base", unknown, 1}};
    ApLinkTable_t const wrong_module[] = {{"bases", kBaseLinks, 2}};
    ApEventLink_t missing{"dlgMissing", ApDialog};
    ApLink_t const opens_missing[] = {{"btnOpen", Pt_CB_ACTIVATE, ApLinkModule, nullptr, &missing}};
    ApLinkTable_t const wrong_target[] = {{"base", opens_missing, 1}};
    for (auto [table, name] :
         {std::pair{wrong_widget, "btnOepn"}, {wrong_module, "bases"}, {wrong_target, "dlgMissing"}}) {
        context_.link_tables = table;
        context_.link_table_count = 1;
        testing::internal::CaptureStderr();
        EXPECT_EQ(Start(), -1);
        EXPECT_NE(testing::internal::GetCapturedStderr().find(name), std::string::npos);
    }
    context_.link_tables = kTables;
    context_.link_table_count = 2;
    EXPECT_EQ(Start(), 0);
}

TEST_F(Modules, StandardOptionsAreReadAndLeft) {
    std::vector<char const *> arguments = {"test", "-x10", "-y",   "5%r", "-vw", "640", "-s",
                                           "-h1",  "-Sm",  "name", "-h",  "480", "--",  "-x99"};
    std::vector<char const *> const before = arguments;
    EXPECT_EQ(ApInitialize(static_cast<int>(arguments.size()), const_cast<char **>(arguments.data()), &context_), 0);
    EXPECT_EQ(arguments, before);
    EXPECT_EQ(Fake().options, (std::vector<std::string>{"10", "5%r", "640", "480", "m"}));
}

TEST_F(Modules, OpenRunCloseAndForget) {
    ASSERT_EQ(Start(), 0);
    PtWidget_t *window = ApLinkWindow(nullptr, &base, nullptr);
    ASSERT_EQ(window, widgets[ABN_base]);
    EXPECT_EQ(events, "realized ");
    PtWidget_t *open = widgets[ABN_btnOpen];
    EXPECT_TRUE(PtWidgetFlags(open) & Pt_BLOCKED);
    EXPECT_EQ(PtValueOf(*open, Pt_ARG_TEXT_STRING)->bytes, "&Open");
    EXPECT_EQ(PtListItemPos(window->children[1], "two"), 2);
    EXPECT_EQ(ApGetInstance(open), window);
    EXPECT_EQ(ApGetWidgetPtr(window, ABN_btnOpen), open);
    EXPECT_EQ(ApGetWidgetPtr(window, ABN_btnClose), nullptr);
    EXPECT_EQ(ApName(open), ABN_btnOpen);

    Click(open);
    PtWidget_t *dialog = widgets[ABN_dlgAbout];
    ASSERT_NE(dialog, nullptr);
    EXPECT_EQ(ApGetWidgetPtr(window, ABN_btnClose), nullptr); // another instance's, although inside its window
    Click(open);
    EXPECT_EQ(widgets[ABN_dlgAbout], dialog); // only one; it comes to the front
    EXPECT_EQ(Fake().front, dialog);
    Click(widgets[ABN_btnClose]);
    EXPECT_EQ(events, "realized setup close gone ");
    EXPECT_EQ(widgets[ABN_dlgAbout], nullptr);
    EXPECT_EQ(widgets[ABN_btnClose], nullptr);

    setup_answer = Pt_END;
    EXPECT_EQ(ApCreateModule(&about, open, nullptr), nullptr);
    EXPECT_EQ(PtTopLevels().size(), 1u);
}

TEST_F(Modules, SecondWindowTakesTheTableOver) {
    ASSERT_EQ(Start(), 0);
    PtWidget_t *first = ApLinkWindow(nullptr, &base, nullptr);
    PtWidget_t *second = ApLinkWindow(nullptr, &base, nullptr);
    EXPECT_EQ(widgets[ABN_base], second);
    EXPECT_EQ(ApGetInstance(widgets[ABN_btnOpen]), second);
    EXPECT_NE(ApGetWidgetPtr(first, ABN_btnOpen), widgets[ABN_btnOpen]);
    PtDestroyWidget(second);
    EXPECT_EQ(widgets[ABN_base], nullptr);
    EXPECT_FALSE(PtWidgetFlags(first) & Pt_DESTROYED);
}

TEST_F(Modules, MenusComeAtThePointerAndOnce) {
    ASSERT_EQ(Start(), 0);
    ApLinkWindow(nullptr, &base, nullptr);
    PhEvent_t press{Ph_EV_BUT_PRESS, 0, {}};
    PtCallbackInfo_t info{Pt_CB_MENU, 0, &press, nullptr};
    PtWidget_t *menu = ApCreateModule(&row_menu, widgets[ABN_btnOpen], &info);
    ASSERT_NE(menu, nullptr);
    EXPECT_EQ(Fake().menu_event, &press);
    EXPECT_TRUE(PtWidgetIsRealized(widgets[ABN_mnuRow_Delete]));
    PtUnrealizeWidget(menu);
    PtWidget_t *again = ApCreateModule(&row_menu, nullptr, nullptr);
    EXPECT_EQ(Fake().menu_event, nullptr);
    EXPECT_TRUE(PtWidgetFlags(menu) & Pt_DESTROYED);
    EXPECT_EQ(widgets[ABN_mnuRow], again);
}

TEST_F(Modules, DatabasesGiveCopies) {
    ASSERT_EQ(Start(), 0);
    PtWidget_t *window = ApLinkWindow(nullptr, &base, nullptr);
    ApDBase_t *db = ApOpenDBase(&pictures);
    ASSERT_NE(db, nullptr);
    PtArg_t arg;
    PtSetArg(&arg, Pt_ARG_MAX_LENGTH, 100, 0);
    PtWidget_t *field = ApCreateWidget(db, "pic_subject", 7, 9, 1, &arg);
    ASSERT_NE(field, nullptr);
    EXPECT_EQ(PtWidgetParent(field), window);
    EXPECT_EQ(PtValueOf(*field, Pt_ARG_TEXT_STRING)->bytes, "subject");
    EXPECT_EQ(PtValueOf(*field, Pt_ARG_MAX_LENGTH)->scalar, 100);
    EXPECT_FALSE(PtWidgetIsRealized(field));
    EXPECT_EQ(PtRealizeWidget(field), 0);
    EXPECT_EQ(ApCreateWidget(db, "pic_nothing", 0, 0, 0, nullptr), nullptr);
    EXPECT_EQ(ApCloseDBase(db), 0);
    ApEventLink_t missing{"nowhere", ApPicture};
    EXPECT_EQ(ApOpenDBase(&missing), nullptr);
}

TEST_F(Modules, ModalWaitEndsWithItsWindow) {
    ASSERT_EQ(Start(), 0);
    ApLinkWindow(nullptr, &base, nullptr);
    PtWidget_t *dialog = ApCreateModule(&about, nullptr, nullptr);
    Fake().Post([&] { PtDestroyWidget(dialog); });
    EXPECT_EQ(ApModalWait(dialog, 0), 0);
    EXPECT_EQ(ApModalWait(nullptr, 0), -1);
}
