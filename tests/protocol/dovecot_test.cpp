// The mail side against a real POP3 server.

#include "base/text.h"
#include "fixtures/dovecot_server.h"
#include "net/session_lock.h"
#include "pop/mailbox.h"
#include "protocol/mail_fixture.h"
#include "store/folder.h"

#include <gtest/gtest.h>
#include <thread>

namespace {

std::string Mail(int number, std::string const &body = "Hello.\r\n") {
    return "From: Sender " + std::to_string(number) + " <s@example.org>\r\nSubject: Message " +
           std::to_string(number) + "\r\nDate: Mon, 06 Jan 2020 10:00:00 +0000\r\n\r\n" + body;
}

std::string Row(int number) {
    std::string const text = std::to_string(number);
    return " \t Message " + text + "\t Sender " + text + " <s@example.org>\t Mon, 06 Jan 2020 10:00:00 +0000\t";
}

class Dovecot : public testing::Test {
  protected:
    void SetUp() override { ASSERT_GT(server.Port(), 0); }

    /// One check. Returns what it told and came to.
    static std::string Run(MailProfile &profile) {
        ToldCheck check;
        Outcome const outcome = CheckMail(profile, check);
        return check.told + Said(outcome);
    }

    /// A message read from the server, or why it could not be.
    static std::string Text(MailProfile &profile, int number) {
        SessionLock const lock(profile);
        FetchedMessage const message = FetchMessage(profile, number);
        return message.outcome ? message.text : Said(message.outcome);
    }

    DovecotServer server;
};

TEST_F(Dovecot, LeaveModeThenReading) {
    auto const mail = [](int i) { return Mail(i, i == 2 ? "..two dots\r\n.\r\n.one\r\n" : "Hello.\r\n"); };
    for (int i = 1; i <= 3; i++)
        server.Put("alice", mail(i));
    AccountRef<MailProfile> const profile = MakeProfile("home", server.Address(), true, "alice", "wrong");
    EXPECT_EQ(Run(*profile), "refused -ERR [AUTH] Authentication failed.");
    EXPECT_EQ(profile->serverSocket, -1);
    CopyText(profile->password, "secret");
    EXPECT_EQ(Run(*profile), "counted 3\nlisting 1 of 3\nserver 1: " + Row(1) + "\nlisting 2 of 3\nserver 2: " +
                                 Row(2) + "\nlisting 3 of 3\nserver 3: " + Row(3) + "\nsay \nended\ndone");
    for (int i = 1; i <= 3; i++)
        EXPECT_EQ(Text(*profile, i), mail(i));
    EXPECT_TRUE(Text(*profile, 4).starts_with("refused -ERR"));
    EXPECT_TRUE(Text(*profile, 0).starts_with("refused -ERR"));
    server.Put("alice", Mail(4));
    EXPECT_EQ(Run(*profile), "counted 1\nlisting 4 of 4\nserver 4: " + Row(4) + "\nsay \nended\ndone");
    EXPECT_TRUE(server.WaitForLog("Logged out")); // the first connection ended with a QUIT
    EXPECT_EQ(server.Count("alice"), 4);
    // Thrown out in between: the next check just connects again, and so does reading, in front of the server's
    // farewell and the end.
    server.Kick("alice");
    EXPECT_TRUE(server.WaitForLog("size=", 2)) << server.Log();
    EXPECT_EQ(Run(*profile), "counted 0\nended\ndone");
    server.Kick("alice");
    EXPECT_TRUE(server.WaitForLog("size=", 3)) << server.Log();
    EXPECT_EQ(Text(*profile, 1), mail(1));
    // A deletion ends the session; the messages above have other numbers in the next one.
    EXPECT_TRUE(DeleteOnServer(*profile, 1));
    EXPECT_EQ(profile->serverMessageCount, 3);
    EXPECT_EQ(Text(*profile, 1), mail(2));
}

TEST_F(Dovecot, RemoveMode) {
    std::string large;
    for (int i = 0; i < 40000; i++)
        large += (i % 7 ? "A line of a large message, number " : ".") + std::to_string(i) + "\r\n";
    auto const mail = [&](int i) { return Mail(i, i == 5 ? large : "Hello.\r\n"); };
    std::string told = "counted 20\n";
    for (int i = 1; i <= 20; i++) {
        server.Put("alice", mail(i));
        told += "stored " + std::to_string(i) + ": " + Row(i) + "\n";
    }
    AccountRef<MailProfile> const profile = MakeProfile("home", server.Address(), false);
    EXPECT_EQ(Run(*profile), told + "ended\ndone");
    for (int i = 1; i <= 20; i++)
        EXPECT_EQ(FileText(InboxOf(*profile) + std::to_string(i)), mail(i));
    EXPECT_TRUE(server.WaitForLog("del=20/"));
    EXPECT_EQ(server.Count("alice"), 0);
}

TEST_F(Dovecot, ManyChecksAtOnce) {
    constexpr int kProfiles = 6, kMessages = 30;
    for (int i = 1; i <= kMessages; i++) {
        server.Put("alice", Mail(i));
        server.Put("bob", Mail(i));
    }
    std::vector<AccountRef<MailProfile>> profiles;
    for (int i = 0; i < kProfiles; i++)
        profiles.push_back(MakeProfile("p" + std::to_string(i), server.Address(), i != 5, i == 5 ? "bob" : "alice"));
    std::vector<std::jthread> workers;
    for (int i = 0; i < 3 * kProfiles; i++)
        workers.emplace_back(
            [&, i] { EXPECT_TRUE(Run(*profiles[static_cast<size_t>(i % kProfiles)]).ends_with("ended\ndone")); });
    for (int i = 0; i < 20; i++)
        EXPECT_EQ(Text(*profiles[1], 1), Mail(1)); // as reading does meanwhile
    workers.clear();
    for (auto const &profile : profiles) {
        EXPECT_EQ(profile->serverMessageCount, kMessages);
        EXPECT_EQ(LockValue(*profile), 1);
    }
    EXPECT_EQ(server.Count("bob"), 0);
}

} // namespace
