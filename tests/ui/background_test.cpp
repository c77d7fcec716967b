// What happens by itself: the timed check, the keep-alive, the star; and the end of the program in the middle of it.

#include "fixtures/dovecot_server.h"
#include "fixtures/scripted_server.h"
#include "fixtures/temp_home.h"
#include "qt/testing.h"
#include "ui/person.h"
#include "ui/sample.h"
#include "ui/widgets.h"
#include "widgets/activity.h"

#include <QLabel>
#include <QPixmap>

#include <gtest/gtest.h>

namespace {

QImage Star() { return qobject_cast<QLabel *>(Find("lblStar"))->pixmap().toImage(); }

/// Changes a timer as its settings in the main window would.
void SetTimer(PtWidget_t *const &timer, int milliseconds) {
    ASSERT_EQ(PtEnter(0), 0);
    PtSetResource(timer, Pt_ARG_TIMER_REPEAT, milliseconds, 0);
    PtSetResource(timer, Pt_ARG_TIMER_INITIAL, milliseconds, 0);
    PtLeave(0);
}

TEST(Background, TimedCheckKeepAliveAndStar) {
    ClearTempHome();
    DovecotServer server;
    MakeProfile(server.Address(), true, 12);
    server.Put("alice", PlainMail("early"));
    Sitting([&] {
        QImage const idle = Star();
        EXPECT_FALSE(idle.isNull());
        ClickRow("treeProfiles", "Inbox");
        EXPECT_TRUE(WaitFor([] { return Rows("treeMessageHeaders").size() == 1; }));
        EXPECT_TRUE(WaitFor([&] { return Star() == idle; })) << "the star rests after the check";
        server.Put("alice", PlainMail("late"));
        // Ticks of 5 s take 5 from the interval of 12: the third one checks. Here a tick comes every 200 ms.
        SetTimer(ABW_timerCheckEmail, 200);
        EXPECT_TRUE(WaitFor([] { return Rows("treeMessageHeaders").size() == 2; }));

        SetTimer(ABW_timerCheckEmail, 0);
        SetTimer(ABW_timerNoop, 100);
        Wait(600);
        server.Kick("alice");
        Wait(400);
        // The keep-alive has found the connection dead; reading makes a new one.
        ClickRow("treeMessageHeaders", "late");
        EXPECT_TRUE(WaitFor([] { return Text("webEmailMessage").contains("The text of late."); }));

        ASSERT_EQ(PtEnter(0), 0);
        BeginActivity();
        PtLeave(0);
        EXPECT_TRUE(WaitFor([&] { return Star() != idle; }, 3000)) << "the star turns";
        ASSERT_EQ(PtEnter(0), 0);
        EndActivity();
        EndActivity();
        EXPECT_EQ(ActivityCount, 0);
        PtLeave(0);
        EXPECT_TRUE(WaitFor([&] { return Star() == idle; }));
    });
}

TEST(Background, OtherFoldersAreNotChecked) {
    ClearTempHome();
    DovecotServer server;
    MakeProfile(server.Address(), true, 5);
    Sitting([&] {
        ClickRow("treeProfiles", "Saved");
        SetTimer(ABW_timerCheckEmail, 250);
        Wait(600);
        EXPECT_EQ(server.Log().find("Login:"), std::string::npos);
        ClickRow("treeProfiles", "Inbox");
        // Opening it checks, and then the timer does.
        EXPECT_TRUE(WaitFor([&] { return QString::fromStdString(server.Log()).count("Login:") == 2; }));
    });
}

TEST(Background, StalledServerLeavesTheWindowAliveAndTheEndFree) {
    ClearTempHome();
    ScriptedServer server({Send("+OK hello\r\n"), Expect("USER alice"), Send("+OK\r\n"), Expect("PASS secret"),
                           Send("+OK\r\n"), Expect("STAT"), Stall()});
    MakeProfile(server.Address(), true);
    Sitting([&] {
        ClickRow("treeProfiles", "Inbox");
        EXPECT_TRUE(WaitFor([] { return Text("lblStatus") == "Checking Email"; }));
        Wait(300);
        ChooseFromMenuBar("mnuHelp_About");
        Click("btnCloseAbout");
        EXPECT_FALSE(IsShown("dlgAbout"));
    });
    EXPECT_EQ(server.Problems(), "");
    EXPECT_TRUE(server.Received().ends_with("STAT\r\n"));
}

} // namespace
