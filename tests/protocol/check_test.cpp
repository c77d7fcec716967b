// The check-mail session against scripted servers: the dialogue byte for byte, and what is shown.

#include "app/check_thread.h"
#include "app/named_calls.h"

#include "base/text.h"
#include "fixtures/scripted_server.h"
#include "names/widgets.h"
#include "net/connection.h"
#include "protocol/screen.h"
#include "store/folder.h"
#include "widgets/activity.h"
#include "widgets/open_profile.h"

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
    std::string output; ///< what went to standard output
};

TEST_F(Check, LeaveModeListsWhatIsNew) {
    Start({Hello("+OK 2 500") + Top(1, "one") + Script{Expect("TOP 2 0"), Send("-ERR no TOP here\r\n")} + kQuit,
           Hello("+ok 3 700 more words") + Top(3, "three") + kQuit, Hello("+OK 3 700") + kQuit,
           Hello("+OK 0 0") + Script{Stall()}},
          true);
    EXPECT_EQ(Run(), 1);
    EXPECT_EQ(RowTexts(), (Strings{"1:1: \t one\t a@b\t today\t", "1:2: \t\t\t\t"}));
    EXPECT_EQ(screen.Painted(), (Strings{"Rcv 1 of 2|50", "Rcv 2 of 2|100"}));
    EXPECT_EQ(screen.Status(), "");
    EXPECT_EQ(output, "\a");
    EXPECT_EQ(ActivityCount, 0);
    EXPECT_GT(profile->serverSocket, 0); // stays open for reading messages
    EXPECT_EQ(Run(), 1);
    ASSERT_EQ(RowTexts().size(), 3u);
    EXPECT_EQ(RowTexts()[2], "1:3: \t three\t a@b\t today\t");
    EXPECT_EQ(Run(), 1);
    EXPECT_EQ(RowTexts().size(), 3u);
    EXPECT_EQ(output, "");
    EXPECT_EQ(Run(), 1); // an emptied mailbox does not reset the count
    EXPECT_EQ(profile->serverMessageCount, 3);
    EXPECT_EQ(screen.Status(), "");
}

TEST_F(Check, RemoveModeMovesEverything) {
    Start({Hello("+OK 2 500") + Retr(1, "one") + Dele(1) + Retr(2, "two") +
               Script{Expect("DELE 2"), Send("-ERR never mind\r\n")} + kQuit,
           Hello("+OK 2 500") + kQuit,
           Hello("+OK 3 500") + Retr(1, "three") + Dele(1) + Script{Expect("RETR 2"), Send("-ERR no\r\n")} + kQuit},
          false);
    EXPECT_EQ(Run(), 1);
    Strings const rows{"2:1: \t one\t a@b\t today\t", "2:2: \t two\t a@b\t today\t"};
    EXPECT_EQ(RowTexts(), rows);
    EXPECT_EQ(FileText(InboxOf(*profile) + "1"), Message("one"));
    EXPECT_EQ(FileText(InboxOf(*profile) + "2"), Message("two"));
    EXPECT_EQ(screen.Status(), "You have 2 new messages\n");
    EXPECT_EQ(screen.Painted(), Strings{}); // no progress in this mode
    EXPECT_EQ(output, "\a");
    EXPECT_GT(profile->serverSocket, 0); // the next check closes it
    // Two were taken in this run: two on the server are no news, whatever they are.
    EXPECT_EQ(Run(), 1);
    EXPECT_EQ(RowTexts(), rows);
    // A profile that is not open any more gets its mail without rows. What cannot be had stays and ends the check.
    screen.RunCallback([] { currentProfile = AccountRef<ServerAccount>(); });
    EXPECT_EQ(Run(), -1);
    EXPECT_EQ(RowTexts(), rows);
    EXPECT_EQ(FileText(InboxOf(*profile) + "3"), Message("three"));
    EXPECT_EQ(screen.Status(), "Message 2 could not be fetched, it stays on the server");
    EXPECT_EQ(ActivityCount, 0);
    EXPECT_EQ(server->Problems(), "");
}

TEST_F(Check, FailedBeginningsLeaveTheStarTurning) {
    Start({Script{Send("+OK\r\n"), Expect("USER alice"), Send("-ERR who\r\n"), Stall()},
           Hello("-ERR locked") + Script{Stall()}, Hello("+OK") + Script{Stall()}},
          true);
    for (int i = 1; i <= 3; i++) {
        screen.RunCallback([] { PtSetResource(ABW_treeProfiles, Pt_ARG_FLAGS, Pt_TRUE, Pt_BLOCKED); });
        CloseConnection(*profile);
        EXPECT_EQ(Run(), -1);
        EXPECT_EQ(profile->serverSocket, -1); // a session that was refused is none
        EXPECT_EQ(ActivityCount, i);
        EXPECT_EQ(screen.Blocked(), 0);
        EXPECT_EQ(screen.Status(), ""); // a refused name is not told
    }
    CopyText(profile->popServer, "255.255.255.255");
    CloseConnection(*profile);
    testing::internal::CaptureStderr();
    EXPECT_EQ(Run(), -1);
    testing::internal::GetCapturedStderr();
    EXPECT_EQ(ActivityCount, 4);
    EXPECT_EQ(screen.Status(), "Host unknown, could not connect to mail server");
}

TEST_F(Check, SurvivesTheWindow) {
    Start({Hello("+OK 2 500") + Top(1, "one") + Script{Pause(300)} + Top(2, "two")}, true);
    std::atomic<bool> over = false;
    std::thread worker([&] {
        CheckMailSession(*profile, ABW_treeMessageHeaders);
        over = true;
    });
    EXPECT_TRUE(screen.PaintUntil([&] { return !screen.Rows().empty(); }));
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

TEST_F(Check, StartRunsACheckAndDropsThoseThatPileUp) {
    Start({Hello("+OK 1 500") + Top(1, "one") + kQuit, Hello("+OK 1 500") + kQuit}, true);
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
    for (int check = 1; check <= 2; check++) {
        EXPECT_TRUE(screen.PaintUntil([] { return RunningChecks() == 0; }));
        EXPECT_EQ(screen.Blocked(), 0);
        EXPECT_EQ(RowTexts(), Strings{"1:1: \t one\t a@b\t today\t"});
        EXPECT_EQ(ActivityCount, 0);
        if (check == 1)
            screen.RunCallback(StartCheckMailThread);
    }
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
