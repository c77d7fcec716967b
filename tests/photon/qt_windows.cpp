// Windows: opening, closing, order of callbacks, place.

#include "photon/qt_fixture.h"

#include "qt/geometry.h"

#include <QDialog>
#include <QPushButton>

namespace {

class Windows : public WindowTest {
  protected:
    void Close(PtWidget_t *window) {
        WithoutLock([&] { Native<QWidget>(window)->close(); });
    }
};

struct Order {
    std::vector<std::string> *log;
    std::string what;
};

int Log(PtWidget_t *widget, void *data, PtCallbackInfo_t *info) {
    static_cast<std::vector<std::string> *>(data)->push_back(
        widget->name + (info->reason == Pt_CB_UNREALIZED ? " unrealized" : " destroyed"));
    return Pt_CONTINUE;
}

TEST_F(Windows, ClosingByTheFrame) {
    std::vector<std::string> log;
    for (char const *name : {"btnInPane", "paneOne", "testwin"}) {
        PtAddCallback(W(name), Pt_CB_UNREALIZED, Log, &log);
        PtAddCallback(W(name), Pt_CB_DESTROYED, Log, &log);
    }
    QPointer<QWidget> const native(Native<QWidget>(window_));
    Close(window_);
    EXPECT_EQ(log, (std::vector<std::string>{"btnInPane unrealized", "paneOne unrealized", "testwin unrealized",
                                             "btnInPane destroyed", "paneOne destroyed", "testwin destroyed"}));
    EXPECT_TRUE(ProcessEventsUntil([&] { return native.isNull(); }));
}

TEST_F(Windows, ClosingThatTheProgramHandles) {
    std::vector<Told> told;
    PtSetResource(window_, Pt_ARG_WINDOW_MANAGED_FLAGS, Pt_FALSE, Ph_WM_CLOSE);
    PtSetResource(window_, Pt_ARG_WINDOW_NOTIFY_FLAGS, Pt_TRUE, Ph_WM_CLOSE);
    PtAddCallback(window_, Pt_CB_WINDOW, Note, &told);
    Close(window_);
    EXPECT_EQ(told.size(), 1u);
    EXPECT_TRUE(Native<QWidget>(window_)->isVisible());
    PtSetResource(window_, Pt_ARG_FLAGS, Pt_TRUE, Pt_BLOCKED);
    Close(window_);
    EXPECT_EQ(told.size(), 1u);
}

TEST_F(Windows, DialogsOpenOnceAndEscapeDestroysThem) {
    ApEventLink_t const link{"testdlg", ApDialog};
    PtWidget_t *dialog = ApCreateModule(&link, window_, nullptr);
    ASSERT_TRUE(dialog);
    EXPECT_EQ(ApCreateModule(&link, window_, nullptr), dialog);
    ASSERT_TRUE(ProcessEventsUntil([&] { return Native<QWidget>(dialog)->isVisible(); }));
    QPointer<QWidget> const native(Native<QWidget>(dialog));
    std::vector<std::string> log;
    PtAddCallback(dialog, Pt_CB_DESTROYED, Log, &log);
    Key(native, Qt::Key_Escape);
    EXPECT_EQ(log.size(), 1u);
    EXPECT_TRUE(ProcessEventsUntil([&] { return native.isNull(); }));
    EXPECT_TRUE(Native<QWidget>(window_)->isVisible());
    EXPECT_TRUE(ApCreateModule(&link, window_, nullptr));
}

int DestroyRoot(PtWidget_t *widget, void *, PtCallbackInfo_t *) {
    PtDestroyWidget(ApGetInstance(widget));
    PtFlush();
    return Pt_CONTINUE;
}

TEST_F(Windows, AButtonMayDestroyItsWindow) {
    PtAddCallback(W("btnOne"), Pt_CB_ACTIVATE, DestroyRoot, nullptr);
    QPointer<QWidget> const native(Native<QWidget>(window_));
    Click(N<QPushButton>("btnOne"));
    EXPECT_TRUE(ProcessEventsUntil([&] { return native.isNull(); }));
}

TEST_F(Windows, UnrealizedAndRealizedAgain) {
    PtUnrealizeWidget(window_);
    Sync();
    EXPECT_FALSE(Native<QWidget>(window_)->isVisible());
    PtRealizeWidget(window_);
    Sync();
    EXPECT_TRUE(Native<QWidget>(window_)->isVisible());
    EXPECT_TRUE(N<QWidget>("btnInPane")->isVisible());
    EXPECT_FALSE(N<QWidget>("txtHidden")->isVisible());
}

TEST(Geometry, OptionsAndFitting) {
    EXPECT_EQ(OptionLength("10", 800, 1), 10);
    EXPECT_EQ(OptionLength("50%", 800, 1), 400);
    EXPECT_EQ(OptionLength("20r", 800, 1), 20);
    EXPECT_EQ(OptionLength("", 800, 77), 77);
    EXPECT_EQ(OptionLength("x", 800, 77), 77);
    EXPECT_EQ(OptionLength("99999999999", 800, 77), 77);
    QRect const screen(0, 0, 800, 600);
    EXPECT_EQ(FitInto(QRect(-50, 700, 300, 200), screen), QRect(0, 400, 300, 200));
    EXPECT_EQ(FitInto(QRect(10, 10, 3000, 200), screen), QRect(0, 10, 800, 200));
}

} // namespace
