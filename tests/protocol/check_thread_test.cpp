// Checks as the window starts and shows them.

#include "app/check_thread.h"

#include "app/named_calls.h"
#include "base/text.h"
#include "core/lock.h"
#include "fixtures/dialogue.h"
#include "names/widgets.h"
#include "net/connection.h"
#include "net/session_lock.h"
#include "protocol/screen.h"
#include "widgets/activity.h"
#include "widgets/open_profile.h"
#include "widgets/operation.h"

#include <algorithm>
#include <cstring>
#include <gtest/gtest.h>
#include <thread>

namespace {

using Strings = std::vector<std::string>;

class CheckThread : public testing::Test {
  protected:
    void Start(std::string const &dialogue, bool leave) {
        server = std::make_unique<ScriptedServer>(ReadDialogue("pop/window", dialogue));
        profile = MakeProfile("home", server->Address(), leave);
        screen.AddProfile(*profile, true);
    }
    void Check() {
        testing::internal::CaptureStdout();
        screen.RunCallback(StartCheckMailThread);
        EXPECT_TRUE(screen.PaintUntil([] { return RunningChecks() == 0 && RunningOperations() == 0; }));
        testing::internal::GetCapturedStdout();
        EXPECT_EQ(screen.Blocked(), 0);
        EXPECT_EQ(LockValue(*profile), 1);
    }
    Strings RowTexts() const {
        Strings texts;
        for (Screen::Row const &row : screen.Rows())
            texts.push_back(std::to_string(row.data.origin) + ":" + std::to_string(row.data.number) + ":" + row.text);
        return texts;
    }

    Screen screen;
    std::unique_ptr<ScriptedServer> server;
    AccountRef<MailProfile> profile;
};

TEST_F(CheckThread, ShowsRowsProgressAndStatus) {
    Start("leave", true);
    Check();
    EXPECT_EQ(RowTexts(), (Strings{"1:1: \t one\t a@b\t today\t", "1:2: \t two\t a@b\t today\t"}));
    Strings const &painted = screen.Painted();
    for (char const *const one : {"Rcv 1 of 2|50", "Rcv 2 of 2|100"})
        EXPECT_EQ(std::count(painted.begin(), painted.end(), one), 1) << one;
    EXPECT_TRUE(painted[0].starts_with("Checking Email|")) << painted[0];
    EXPECT_EQ(screen.Status(), "");
    EXPECT_EQ(ActivityCount, 0);
}

TEST_F(CheckThread, ShowsRowsOfTheOpenInboxOnly) {
    Start("remove", false);
    Check();
    EXPECT_EQ(RowTexts(), Strings{"2:1: \t one\t a@b\t today\t"});
    EXPECT_EQ(screen.Status(), "You have 1 new messages\n");
    screen.RunCallback([] { CopyText(currentFolder, "Saved"); });
    Check();
    EXPECT_EQ(RowTexts().size(), 1u);
    screen.RunCallback([] { CopyText(currentFolder, "Inbox"); });
    // Without a profile that is open the mail comes without rows.
    screen.RunCallback([] { currentProfile = AccountRef<ServerAccount>(); });
    screen.RunWorker([&] { EXPECT_EQ(CheckMailSession(*profile, ABW_treeMessageHeaders), -1); });
    EXPECT_EQ(RowTexts().size(), 1u);
    EXPECT_EQ(screen.Status(), "Message 2 could not be fetched, it stays on the server");
}

TEST_F(CheckThread, StarTurnsOnAfterAFailedStart) {
    Start("refused", true);
    for (int i = 1; i <= 2; i++) {
        Check();
        EXPECT_EQ(ActivityCount, i);
        EXPECT_EQ(screen.Status(), i == 1 ? "Checking Email" : "-ERR wrong"); // a refused name is not told
    }
    Check();
    EXPECT_EQ(screen.Status(), "");
}

TEST_F(CheckThread, SurvivesTheWindow) {
    Start("leave", true);
    screen.RunCallback(StartCheckMailThread);
    EXPECT_TRUE(screen.PaintUntil([&] { return !screen.Rows().empty(); }));
    PtWidget_t *saved[ABN_count];
    screen.RunCallback([&] {
        FreeHeaderList();
        std::copy(std::begin(AbWidgets), std::end(AbWidgets), saved);
        std::fill(std::begin(AbWidgets), std::end(AbWidgets), nullptr);
    });
    EXPECT_TRUE(screen.PaintUntil([] { return RunningChecks() == 0; }));
    std::copy(std::begin(saved), std::end(saved), AbWidgets);
    EXPECT_EQ(profile->serverMessageCount, 2);
    EXPECT_EQ(screen.Rows().size(), 0u);
}

TEST_F(CheckThread, StartAsksForWhatIsMissing) {
    std::string const title = "Missing Account Information|";
    screen.RunCallback(StartCheckMailThread);
    AccountRef<NewsProfile> const news(new NewsProfile);
    screen.AddProfile(*news, false);
    screen.RunCallback(StartCheckMailThread);
    AccountRef<MailProfile> const mail = MakeProfile("home", "255.255.255.255", true);
    screen.AddProfile(*mail, false);
    screen.RunCallback(StartCheckMailThread);
    EXPECT_EQ(shownAlerts,
              (Strings{title + "You must first create an email profile",
                       title + "You must first create an email profile", title + "Please select an email profile"}));
    EXPECT_FALSE(currentProfile);
    EXPECT_EQ(RunningChecks(), 0);
    EXPECT_EQ(ActivityCount, 0);
}

TEST_F(CheckThread, ChecksDoNotPileUp) {
    Start("leave", true);
    screen.RunCallback([] { currentProfile = AccountRef<ServerAccount>(); });
    sem_wait(&profile->sessionLock);
    for (int i = 0; i < 5; i++)
        screen.RunCallback(StartCheckMailThread);
    EXPECT_EQ(currentProfile.Get(), profile.Get()); // the only profile is selected and opened
    EXPECT_EQ(RunningChecks(), 1);
    EXPECT_EQ(ActivityCount, 1);
    EXPECT_EQ(profile->checkIntervalSeconds, 300);
    EXPECT_EQ(profile->checkCountdown, 300);
    EXPECT_TRUE(screen.PaintUntil([&] { return screen.Blocked() == 4; }));
    EXPECT_EQ(screen.Status(), "Checking Email");
    sem_post(&profile->sessionLock);
    EXPECT_TRUE(screen.PaintUntil([] { return RunningChecks() == 0; }));
    EXPECT_EQ(screen.Blocked(), 0);
    EXPECT_EQ(RowTexts().size(), 2u);
}

TEST_F(CheckThread, FunctionsThatNothingCallsDoAsDescribed) {
    Start("named calls", true);
    for (int const socket : {0, -1}) {
        CloseConnection(*profile, socket);
        size_t length = 0;
        screen.RunWorker([&] {
            EXPECT_EQ(TakeText(getMessage(3, *profile, 0, &length)), socket == 0 ? "abc" : "(none)");
            EXPECT_EQ(TakeText(TopHeader(*profile, 3)), socket == 0 ? "Subject: a\r\n\r\n.\r\n" : "(none)");
        });
        EXPECT_EQ(length, socket == 0 ? 3u : 0u);
        EXPECT_EQ(LockValue(*profile), 1);
    }
    Fd const plain(OpenServerConnection(server->Address().c_str(), kPop3, 1));
    char line[8];
    EXPECT_EQ(ReadServerLine(plain.Get(), line, sizeof line), 12);
    EXPECT_STREQ(line, "+OK rea"); // cut at the width of the buffer
    EXPECT_EQ(WriteServerLine(plain.Get(), "QUIT\r\nDELE 1"), 6);
    EXPECT_EQ(ReadServerLine(plain.Get(), line, sizeof line), 6); // up to the 8-bit letter
    EXPECT_STREQ(line, "+OK M");
    CopyText(profile->popServer, "255.255.255.255");
    testing::internal::CaptureStderr();
    EXPECT_EQ(OpenMailConnection(*profile, nullptr, kPop3), -1);
    testing::internal::GetCapturedStderr();
    EXPECT_EQ(screen.Status(), "Host unknown, could not connect to mail server");
    EXPECT_EQ(server->Problems(), "");
}

} // namespace
