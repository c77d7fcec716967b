// What happens by itself: the timed check, the keep-alive, the star.

#include "fixtures/dovecot_server.h"
#include "fixtures/temp_home.h"
#include "names/widgets.h"
#include "ui/person.h"
#include "ui/sample.h"
#include "widgets/activity.h"
#include "widgets/open_profile.h"
#include "widgets/toolkit.h"

#include <QLabel>
#include <QPixmap>

#include <gtest/gtest.h>

namespace {

QImage Star() { return qobject_cast<QLabel *>(Find("lblStar"))->pixmap().toImage(); }

/// Changes a timer as its settings in the main window would.
void SetTimer(PtWidget_t *const &timer, int milliseconds) {
    ToolkitGuard const guard;
    PtSetResource(timer, Pt_ARG_TIMER_REPEAT, milliseconds, 0);
    PtSetResource(timer, Pt_ARG_TIMER_INITIAL, milliseconds, 0);
}

bool IsConnected() {
    ToolkitGuard const guard;
    return CurrentMailProfile() && CurrentMailProfile()->serverSocket > 0;
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
        EXPECT_TRUE(WaitFor(IsConnected));
        server.Kick("alice");
        EXPECT_TRUE(WaitFor([] { return !IsConnected(); })) << "the keep-alive finds the connection dead";
        ClickRow("treeMessageHeaders", "late");
        EXPECT_TRUE(PageShows("The text of late.")) << "reading makes a new one";

        {
            ToolkitGuard const guard;
            BeginActivity();
        }
        EXPECT_TRUE(WaitFor([&] { return Star() != idle; })) << "the star turns";
        {
            ToolkitGuard const guard;
            EndActivity();
            EndActivity();
            EXPECT_EQ(ActivityCount, 0);
        }
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
        EXPECT_TRUE(WaitFor([&] { return QString::fromStdString(server.Log()).count("Login:") >= 2; }));
    });
}

} // namespace
