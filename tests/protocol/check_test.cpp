// Whole checks against scripted servers: the dialogue byte for byte, and what the observer is told.

#include "pop/check_mail.h"

#include "fixtures/dialogue.h"
#include "net/connection.h"
#include "net/session_lock.h"
#include "protocol/mail_fixture.h"
#include "store/folder.h"

#include <gtest/gtest.h>
#include <thread>

namespace {

/// One check, and what it told and came to.
std::string Check(MailProfile &profile, StopPredicate const &stopped, ToldCheck &told) {
    testing::internal::CaptureStdout();
    Outcome const outcome = CheckMail(profile, told, stopped);
    if (testing::internal::GetCapturedStdout() == "\a")
        told.told += "bell\n";
    EXPECT_EQ(LockValue(profile), 1);
    return told.told + Said(outcome) + (profile.serverSocket > 0 ? ", open, " : ", closed, ") +
           std::to_string(profile.serverMessageCount) + " taken\n";
}

TEST(Check, EachDialogue) {
    for (Dialogue const &one : ReadDialogues("pop/check")) {
        SCOPED_TRACE(one.name);
        ScriptedServer server(one);
        AccountRef<MailProfile> const profile = MakeProfile(one.name, server.Address(), one["mode"] == "leave");
        std::string told;
        for (size_t i = 0; i < one.connections.size(); i++) {
            ToldCheck check;
            StopPredicate stopped;
            if (one["stop"] == "after the first row")
                stopped = [&] { return check.rows > 0; };
            if (one["stop"] == "soon")
                stopped = [&] { return server.Received().find("RETR 1") != std::string::npos; };
            told += Check(*profile, stopped, check);
        }
        EXPECT_EQ(told, one["told"]);
        std::string inbox;
        ReadFolderIndex(InboxOf(*profile).c_str(), [&](IndexRecord const &record) {
            inbox += FileText(InboxOf(*profile) + std::to_string(record.number));
        });
        if (one.Has("inbox")) {
            EXPECT_EQ(inbox, one["inbox"]);
        }
        CloseConnection(*profile);
        EXPECT_EQ(server.Problems(), "");
    }
}

TEST(Check, UnknownHost) {
    AccountRef<MailProfile> const profile = MakeProfile("home", "255.255.255.255", true);
    ToldCheck check;
    testing::internal::CaptureStderr();
    EXPECT_EQ(Check(*profile, {}, check), "failed Host unknown, could not connect to mail server, closed, 0 taken\n");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "Error: Unknown Host\n: No route to host\n");
}

TEST(Check, StopEndsTheWaitForAnother) {
    AccountRef<MailProfile> const profile = MakeProfile("home", "255.255.255.255", true);
    std::atomic<bool> stop = false;
    SessionLock held(*profile);
    profile->checkWaiting = true;
    std::jthread const waiting([&] {
        ToldCheck check;
        EXPECT_EQ(CheckMail(*profile, check, [&] { return stop.load(); }).ending, Ending::kStopped);
        EXPECT_FALSE(profile->checkWaiting);
    });
    stop = true;
}

} // namespace
