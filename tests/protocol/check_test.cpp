// The check-mail session against scripted servers: the dialogue byte for byte, and what is shown.

#include "pop/check_mail.h"

#include "base/text.h"
#include "fixtures/process.h"
#include "fixtures/scripted_server.h"
#include "net/server.h"
#include "protocol/screen.h"
#include "store/folder.h"
#include "ui/widgets.h"
#include "widgets/activity.h"
#include "widgets/open_profile.h"

#include <filesystem>
#include <gtest/gtest.h>

namespace {

using Strings = std::vector<std::string>;

/// A login and a STAT with this reply.
Script Hello(std::string const &stat) {
    return {Send("+OK ready\r\n"),     Expect("USER alice"), Send("+OK\r\n"),    Expect("PASS secret"),
            Send("+OK logged in\r\n"), Expect("STAT"),       Send(stat + "\r\n")};
}

/// A message and the exchange in which it is fetched.
std::string Message(std::string const &subject) {
    return "Subject: " + subject + "\r\nFrom: a@b\r\nDate: today\r\n\r\nbody\r\n";
}
Script Retr(int number, std::string const &subject) {
    std::string const message = Message(subject);
    return {Expect("RETR " + std::to_string(number)),
            Send("+OK " + std::to_string(message.size()) + " octets\r\n" + message + ".\r\n")};
}
Script Dele(int number) { return {Expect("DELE " + std::to_string(number)), Send("+OK deleted\r\n")}; }
Script Top(int number, std::string const &subject) {
    return {Expect("TOP " + std::to_string(number) + " 0"),
            Send("+OK\r\nSubject: " + subject + "\r\nFrom: a@b\r\nDate: today\r\n\r\n.\r\n")};
}
Script const kQuit{Expect("QUIT"), Send("+OK bye\r\n")};

class Check : public testing::Test {
  protected:
    void Start(std::vector<Script> const &scripts, bool leave) {
        server = std::make_unique<ScriptedServer>(scripts);
        profile = MakeProfile("home", server->Address(), leave);
        screen.AddProfile(*profile, true);
    }

    /// One whole session on a worker, with the activity that starting it begins.
    int Run() {
        screen.RunCallback(BeginActivity);
        int result = 0;
        testing::internal::CaptureStdout();
        screen.RunWorker([&] { result = CheckMailSession(*profile, ABW_treeMessageHeaders); });
        output = testing::internal::GetCapturedStdout();
        EXPECT_EQ(LockValue(*profile), 1);
        return result;
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
    std::string output;
};

TEST_F(Check, LeaveModeListsWhatIsNew) {
    Start({Hello("+OK 2 500") + Top(1, "one") + Top(2, "two") + kQuit,
           Hello("+ok 3 700 more words") + Top(3, "three") + kQuit, Hello("+OK 3 700") + kQuit,
           Hello("+OK 0 0") + Script{Stall()}},
          true);
    EXPECT_EQ(Run(), 1);
    EXPECT_EQ(RowTexts(), (Strings{"1:1: \t one\t a@b\t today\t", "1:2: \t two\t a@b\t today\t"}));
    EXPECT_EQ(screen.Painted(), (Strings{"Rcv 1 of 2|50", "Rcv 2 of 2|100"}));
    EXPECT_EQ(screen.Status(), "");
    EXPECT_EQ(output, "\a");
    EXPECT_EQ(ActivityCount, 0);
    EXPECT_GT(profile->serverSocket, 0); // stays open for reading messages
    EXPECT_EQ(Run(), 1);
    EXPECT_EQ(RowTexts().size(), 3u);
    EXPECT_EQ(RowTexts()[2], "1:3: \t three\t a@b\t today\t");
    EXPECT_EQ(Run(), 1);
    EXPECT_EQ(RowTexts().size(), 3u);
    EXPECT_EQ(output, "");
    EXPECT_EQ(Run(), 1); // an emptied mailbox does not reset the count
    EXPECT_EQ(profile->serverMessageCount, 3);
    EXPECT_EQ(screen.Status(), "");
    server.reset();
}

TEST_F(Check, RemoveModeMovesEverything) {
    Start({Hello("+OK 2 500") + Retr(1, "one") + Dele(1) + Retr(2, "two") +
               Script{Expect("DELE 2"), Send("-ERR never mind\r\n")} + kQuit,
           Hello("+OK 2 500") + kQuit},
          false);
    EXPECT_EQ(Run(), 1);
    EXPECT_EQ(RowTexts(), (Strings{"2:1: \t one\t a@b\t today\t", "2:2: \t two\t a@b\t today\t"}));
    EXPECT_EQ(FileText(InboxOf(*profile) + "1"), Message("one"));
    EXPECT_EQ(FileText(InboxOf(*profile) + "2"), Message("two"));
    EXPECT_EQ(screen.Status(), "You have 2 new messages\n");
    EXPECT_EQ(screen.Painted(), Strings{}); // no progress in this mode
    EXPECT_EQ(output, "\a");
    EXPECT_GT(profile->serverSocket, 0); // the next check closes it
    // Two were taken in this run: two on the server are no news, whatever they are.
    EXPECT_EQ(Run(), 1);
    EXPECT_EQ(RowTexts().size(), 2u);
    server.reset();
}

TEST_F(Check, RemoveModeStopsAtAMessageThatCannotBeHad) {
    Start({Hello("+OK 3 500") + Retr(1, "one") + Dele(1) + Script{Expect("RETR 2"), Send("-ERR no\r\n")} + kQuit},
          false);
    EXPECT_EQ(Run(), -1);
    EXPECT_EQ(server->Problems(), "");
    EXPECT_EQ(screen.Status(), "Message 2 could not be fetched, it stays on the server");
    EXPECT_EQ(RowTexts().size(), 1u);
    EXPECT_EQ(ActivityCount, 0);
}

TEST_F(Check, RemoveModeDeletesNothingThatIsNotStored) {
    Start({Hello("+OK 2 500") + Retr(1, "one") + kQuit}, false);
    std::filesystem::remove_all(InboxOf(*profile));
    EXPECT_EQ(Run(), -1);
    EXPECT_EQ(server->Problems(), "");
    EXPECT_EQ(server->Received().find("DELE"), std::string::npos);
    EXPECT_EQ(screen.Status(), "Message 1 could not be stored, it stays on the server");
}

TEST_F(Check, RemoveModeQuitsOnlyWhenAllIsOnDisk) {
    std::string const inbox = InboxOf(*MakeProfile("home", "", false));
    // The index goes away before the session ends: without a QUIT the server keeps the message.
    Start({Hello("+OK 1 500") + Retr(1, "one") + Script{Expect("DELE 1"), Pause(200), Send("+OK\r\n"), Stall()}},
          false);
    std::thread thief([&] {
        while (server->Received().find("DELE") == std::string::npos)
            std::this_thread::yield();
        std::filesystem::remove(inbox + "index2");
    });
    EXPECT_EQ(Run(), -1);
    thief.join();
    EXPECT_EQ(server->Received().find("QUIT"), std::string::npos);
    EXPECT_EQ(profile->serverSocket, -1);
    EXPECT_EQ(screen.Status(), "The messages could not be stored safely, they stay on the server");
}

TEST_F(Check, LostConnectionsEndTheSession) {
    Script const lost[] = {
        Hello("+OK 2 500"),
        Hello("+OK 2 500") + Script{Expect("TOP 1 0"), Send("+OK\r\nSubject: x")},
        Hello("+OK 2 500") + Top(1, "one") + Script{Expect("TOP 2 0"), Reset()},
    };
    int const rows[] = {0, 0, 1};
    for (int i = 0; i < 3; i++) {
        Start({lost[i]}, true);
        screen.RunCallback([&] {
            currentProfile = AccountRef<ServerAccount>(profile.Get());
            FreeHeaderList();
        });
        EXPECT_EQ(Run(), -1);
        EXPECT_EQ(static_cast<int>(screen.Rows().size()), rows[i]);
        EXPECT_EQ(profile->serverMessageCount, rows[i]); // the rest is new again next time
        EXPECT_EQ(profile->serverSocket, -1);
        EXPECT_EQ(screen.Status(), "Lost the connection to the mail server");
        EXPECT_EQ(ActivityCount, 0);
        EXPECT_EQ(output, "");
    }
    Start({Hello("+OK 2 500") + Retr(1, "one") + Script{Expect("DELE 1")}}, false);
    EXPECT_EQ(Run(), -1);
    EXPECT_EQ(screen.Status(), "Lost the connection to the mail server");
}

TEST_F(Check, FailedTopStillGivesARow) {
    Start({Hello("+OK 2 500") + Script{Expect("TOP 1 0"), Send("-ERR no TOP here\r\n")} + Top(2, "two") +
           Script{Stall()}},
          true);
    EXPECT_EQ(Run(), 1);
    EXPECT_EQ(RowTexts(), (Strings{"1:1: \t\t\t\t", "1:2: \t two\t a@b\t today\t"}));
    server.reset();
}

TEST_F(Check, FailedBeginningsLeaveTheStarTurning) {
    Start({Script{Send("+OK\r\n"), Expect("USER alice"), Send("-ERR who\r\n"), Stall()},
           Hello("-ERR locked") + Script{Stall()}, Hello("+OK") + Script{Stall()}, Script{}},
          true);
    // Each check drops the connection that the one before has left open.
    for (int i = 1; i <= 3; i++) {
        screen.RunCallback([] { PtSetResource(ABW_treeProfiles, Pt_ARG_FLAGS, Pt_TRUE, Pt_BLOCKED); });
        CloseConnection(*profile);
        EXPECT_EQ(Run(), -1);
        EXPECT_GT(profile->serverSocket, 0);
        EXPECT_EQ(ActivityCount, i);
        EXPECT_EQ(screen.Blocked(), 0);
        EXPECT_EQ(screen.AnimationInitial(), 150);
    }
    CopyText(profile->popServer, "255.255.255.255");
    CloseConnection(*profile);
    testing::internal::CaptureStderr();
    EXPECT_EQ(Run(), -1);
    testing::internal::GetCapturedStderr();
    EXPECT_EQ(ActivityCount, 4);
    EXPECT_EQ(screen.Status(), "Host unknown, could not connect to mail server");
    screen.RunCallback([] {
        for (int i = 0; i < 9; i++)
            EndActivity();
    });
    EXPECT_EQ(ActivityCount, 0);
    EXPECT_EQ(screen.AnimationInitial(), 0);
}

TEST_F(Check, StoresWithoutRowsWhenTheProfileIsNoLongerOpen) {
    Start({Hello("+OK 1 500") + Retr(1, "one") + Dele(1) + kQuit}, false);
    screen.RunCallback([] { currentProfile = AccountRef<ServerAccount>(); });
    EXPECT_EQ(Run(), 1);
    EXPECT_EQ(screen.Rows().size(), 0u);
    EXPECT_EQ(FileText(InboxOf(*profile) + "1"), Message("one"));
}

TEST_F(Check, SurvivesTheWindow) {
    Start({Hello("+OK 2 500") + Top(1, "one") + Script{Pause(300)} + Top(2, "two")}, true);
    screen.RunCallback(BeginActivity);
    std::atomic<bool> over = false;
    std::thread worker([&] {
        CheckMailSession(*profile, ABW_treeMessageHeaders);
        over = true;
    });
    EXPECT_TRUE(screen.PaintUntil([&] { return screen.Rows().size() == 1; }));
    PtWidget_t *saved[ABN_count];
    screen.RunCallback([&] {
        FreeHeaderList();
        std::copy(std::begin(AbWidgets), std::end(AbWidgets), saved);
        std::fill(std::begin(AbWidgets), std::end(AbWidgets), nullptr);
    });
    EXPECT_TRUE(screen.PaintUntil([&] { return over.load(); }));
    worker.join();
    std::copy(std::begin(saved), std::end(saved), AbWidgets);
    EXPECT_EQ(profile->serverMessageCount, 2);
    EXPECT_EQ(screen.Rows().size(), 0u);
}

TEST_F(Check, StartAsksForWhatIsMissing) {
    screen.RunCallback(StartCheckMailThread);
    EXPECT_EQ(shownAlerts, Strings{"Missing Account Information|You must first create an email profile"});
    AccountRef<NewsProfile> const news(new NewsProfile);
    screen.AddProfile(*news, false);
    screen.RunCallback(StartCheckMailThread);
    EXPECT_EQ(shownAlerts.size(), 2u);
    EXPECT_EQ(shownAlerts.back(), "Missing Account Information|You must first create an email profile");
    AccountRef<MailProfile> const mail = MakeProfile("home", "255.255.255.255", true);
    screen.AddProfile(*mail, false);
    screen.RunCallback(StartCheckMailThread);
    EXPECT_EQ(shownAlerts.back(), "Missing Account Information|Please select an email profile");
    EXPECT_FALSE(currentProfile);
    EXPECT_EQ(RunningChecks(), 0);
    EXPECT_EQ(ActivityCount, 0);
}

TEST_F(Check, StartRunsACheckAndDropsThoseThatPileUp) {
    Start({Hello("+OK 1 500") + Top(1, "one") + Script{Expect("QUIT"), Send("+OK\r\n")}, Hello("+OK 1 500") + kQuit},
          true);
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
    EXPECT_EQ(RowTexts(), Strings{"1:1: \t one\t a@b\t today\t"});
    EXPECT_EQ(ActivityCount, 0);
    screen.RunCallback(StartCheckMailThread);
    EXPECT_TRUE(screen.PaintUntil([] { return RunningChecks() == 0; }));
    EXPECT_EQ(screen.Rows().size(), 1u);
    CloseConnection(*profile);
}

TEST_F(Check, RowsOfTheList) {
    screen.RunCallback([&] {
        char full[kRowWidth + 1];
        std::fill(full, full + sizeof full, 'f'); // a stored row of full width has no end
        AddHeaderRow(full, kRowWidth, kStored, 1, ABW_treeMessageHeaders, lastHeaderItem);
        AddHeaderRow("two", kRowWidth, kStored, 2, ABW_treeMessageHeaders, lastHeaderItem);
        PtTreeItem_t *const two = lastHeaderItem;
        PtTreeItem_t *const three =
            AddHeaderRow(std::string(9000, 't').c_str(), 9000, kStored, 3, ABW_treeMessageHeaders, lastHeaderItem);
        EXPECT_EQ(strlen(three->string), 8191u);
        RemoveHeaderRow(three);
        EXPECT_EQ(lastHeaderItem, two);
        AddHeaderRow("four", 100, kArticle, 4, ABW_treeMessageHeaders, lastHeaderItem);
    });
    EXPECT_EQ(RowTexts(), (Strings{"2:1:" + std::string(200, 'f'), "2:2:two", "3:4:four"}));
    screen.RunCallback(FreeHeaderList);
    EXPECT_EQ(RowTexts(), Strings{});
    EXPECT_EQ(lastHeaderItem, nullptr);
}

} // namespace
