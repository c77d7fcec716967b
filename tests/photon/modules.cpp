// The application-builder runtime: link tables, options, modules, the widget table, databases.

#include "photon/fixture.h"

#include <QLabel>
#include <QScreen>

namespace {

enum { ABN_testwin = 1, ABN_btnOne, ABN_testdlg, ABN_btnDlg, ABN_testmenu, ABN_mnuTop, kCount };
char const *const kNames[kCount] = {nullptr, "testwin", "btnOne", "testdlg", "btnDlg", "testmenu", "mnuTop"};
PtWidget_t *widgets[kCount];

int setup_answer = Pt_CONTINUE;
std::string events;

int Setup(PtWidget_t *root, ApInfo_t *info, PtCallbackInfo_t *) {
    EXPECT_EQ(info->reason, ABR_PRE_REALIZE);
    EXPECT_FALSE(PtWidgetIsRealized(root));
    EXPECT_TRUE(root->view);
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
    EXPECT_TRUE(widgets[ABN_testdlg]); // until its own callbacks have run
    events += "gone ";
    return Pt_CONTINUE;
}

ApEventLink_t window_link{"testwin", ApWindow}, dialog_link{"testdlg", ApDialog, Setup},
    menu_link{"testmenu", ApMenu}, pictures_link{"testpics", ApPicture}, missing_link{"missing", ApDialog};

ApLink_t const kWindowLinks[] = {{"btnOne", Pt_CB_ACTIVATE, ApLinkModule, nullptr, &dialog_link},
                                 {"testwin", Pt_CB_REALIZED, ApLinkCode, OnRealized, nullptr}};
ApLink_t const kDialogLinks[] = {{"btnDlg", Pt_CB_ACTIVATE, ApLinkDone, OnClose, nullptr},
                                 {"testdlg", Pt_CB_DESTROYED, ApLinkCode, OnGone, nullptr}};
ApLinkTable_t const kTables[] = {{"testwin", kWindowLinks, 2}, {"testdlg", kDialogLinks, 2}};

class Modules : public ToolkitTest {
  protected:
    void SetUp() override {
        events.clear();
        setup_answer = Pt_CONTINUE;
    }
    void TearDown() override {
        ToolkitTest::TearDown();
        char *none = nullptr;
        ApInitialize(0, &none, &AbContext); // for other tests
    }
    int Start(std::vector<char const *> arguments = {"test"}) {
        return ApInitialize(static_cast<int>(arguments.size()), const_cast<char **>(arguments.data()), &context_);
    }
    static PtWidget_t *OpenWindow() { return ApLinkWindow(nullptr, &window_link, nullptr); }
    static void Click(PtWidget_t *widget) { PtInvokeCallbacks(*widget, Pt_CB_ACTIVATE, 0, nullptr, nullptr); }

    ApContext_t context_{0, kNames, widgets, kCount, kTables, 2};
};

TEST_F(Modules, StandardOptionsPlaceTheFirstWindow) {
    std::vector<char const *> arguments = {"test", "-x10", "-y",   "5%r", "-vw", "640", "-s",
                                           "-h1",  "-Sn",  "name", "-h",  "700", "--",  "-x99"};
    std::vector<char const *> const before = arguments;
    EXPECT_EQ(ApInitialize(static_cast<int>(arguments.size()), const_cast<char **>(arguments.data()), &context_), 0);
    EXPECT_EQ(arguments, before);
    auto *window = Native<QWidget>(OpenWindow());
    ASSERT_TRUE(ProcessEventsUntil([&] { return window->isVisible(); }));
    int const top = window->screen()->availableGeometry().height() * 5 / 100;
    EXPECT_EQ(window->geometry(), QRect(10, top, 640, 700));
    ASSERT_EQ(Start({"test", "-Sm"}), 0);
    EXPECT_FALSE(Native<QWidget>(OpenWindow())->isMaximized()) << "not the first";
}

TEST_F(Modules, OpenRunCloseAndForget) {
    ASSERT_EQ(Start(), 0);
    PtWidget_t *window = OpenWindow();
    ASSERT_EQ(window, widgets[ABN_testwin]);
    EXPECT_EQ(events, "realized ");
    PtWidget_t *open = widgets[ABN_btnOne];
    Click(open);
    PtWidget_t *dialog = widgets[ABN_testdlg];
    ASSERT_TRUE(dialog);
    Click(open);
    EXPECT_EQ(widgets[ABN_testdlg], dialog); // only one
    Click(widgets[ABN_btnDlg]);
    EXPECT_EQ(events, "realized setup close gone ");
    EXPECT_EQ(widgets[ABN_testdlg], nullptr);
    EXPECT_EQ(widgets[ABN_btnDlg], nullptr);

    setup_answer = Pt_END;
    EXPECT_EQ(ApCreateModule(&dialog_link, open, nullptr), nullptr);
    EXPECT_EQ(ApCreateModule(&missing_link, open, nullptr), nullptr);
    setup_answer = Pt_CONTINUE;
    PtWidget_t *menu = ApCreateModule(&menu_link, open, nullptr);
    PtUnrealizeWidget(menu);
    PtWidget_t *again = ApCreateModule(&menu_link, open, nullptr);
    EXPECT_TRUE(PtWidgetFlags(menu) & Pt_DESTROYED); // a menu is there once
    EXPECT_EQ(widgets[ABN_testmenu], again);
    EXPECT_TRUE(PtWidgetIsRealized(widgets[ABN_mnuTop]));

    PtWidget_t *second = OpenWindow();
    EXPECT_EQ(widgets[ABN_testwin], second); // takes the table over
    PtDestroyWidget(second);
    EXPECT_EQ(widgets[ABN_testwin], nullptr);
    EXPECT_FALSE(PtWidgetFlags(window) & Pt_DESTROYED);
}

TEST_F(Modules, DatabasesGiveCopies) {
    ASSERT_EQ(Start(), 0);
    PtWidget_t *window = OpenWindow();
    ApDBase_t *db = ApOpenDBase(&pictures_link);
    ASSERT_TRUE(db);
    PhImage_t *const dot = ApGetImageRes(db, "lblDot");
    PtWidget_t *label = ApCreateWidget(db, "lblDot", 7, 9, 0, nullptr);
    ASSERT_TRUE(dot && label);
    EXPECT_EQ(label->parent, window);
    EXPECT_EQ(Number<PhPoint_t>(label, Pt_ARG_POS).y, 9);
    EXPECT_EQ(ApCreateWidget(db, "nothing", 0, 0, 0, nullptr), nullptr);
    PtSetResource(label, Pt_ARG_LABEL_IMAGE, dot, 0);
    EXPECT_EQ(PtRealizeWidget(label), 0);
    ProcessEventsFor(2);
    EXPECT_EQ(Native<QLabel>(label)->pixmap().toImage().pixelColor(5, 5), QColor(255, 0, 0));
    EXPECT_EQ(ApOpenDBase(&missing_link), nullptr);
}

} // namespace
