// The mail side against a real POP3 server.

#include "app/named_calls.h"
#include "base/text.h"
#include "fixtures/dovecot_server.h"
#include "names/widgets.h"
#include "protocol/screen.h"
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

    int Run(MailProfile &profile) {
        int result = 0;
        screen.RunWorker([&] { result = CheckMailSession(profile, ABW_treeMessageHeaders); });
        EXPECT_EQ(LockValue(profile), 1);
        return result;
    }

    /// A message read from the server, "(none)" when it could not be.
    static std::string Text(MailProfile &profile, int number) { return TakeText(getMessage(number, profile, 0)); }

    Screen screen;
    DovecotServer server;
};

TEST_F(Dovecot, LeaveModeThenReading) {
    auto const mail = [](int i) { return Mail(i, i == 2 ? "..two dots\r\n.\r\n.one\r\n" : "Hello.\r\n"); };
    for (int i = 1; i <= 3; i++)
        server.Put("alice", mail(i));
    AccountRef<MailProfile> const profile = MakeProfile("home", server.Address(), true, "alice", "wrong");
    screen.AddProfile(*profile, true);
    EXPECT_EQ(Run(*profile), -1);
    EXPECT_EQ(screen.Status(), "-ERR [AUTH] Authentication failed.");
    CopyText(profile->password, "secret");
    EXPECT_EQ(Run(*profile), 1);
    ASSERT_EQ(screen.Rows().size(), 3u);
    EXPECT_EQ(screen.Rows()[1].text, Row(2));
    EXPECT_EQ(screen.Rows()[1].data.origin, kOnServer);
    EXPECT_EQ(screen.Rows()[1].data.number, 2);
    screen.RunCallback([&] {
        for (int i = 1; i <= 3; i++)
            EXPECT_EQ(Text(*profile, i), mail(i));
        EXPECT_EQ(Text(*profile, 4), "(none)");
        EXPECT_EQ(Text(*profile, 0), "(none)");
    });
    server.Put("alice", Mail(4));
    EXPECT_EQ(Run(*profile), 1);
    ASSERT_EQ(screen.Rows().size(), 4u);
    EXPECT_EQ(screen.Rows()[3].text, Row(4));
    EXPECT_TRUE(server.WaitForLog("Logged out")); // the first connection ended with a QUIT
    EXPECT_EQ(server.Count("alice"), 4);
    // Thrown out in between: the next check just connects again, reading meets the server's farewell and then the
    // end.
    server.Kick("alice");
    EXPECT_TRUE(server.WaitForLog("size=", 2)) << server.Log();
    EXPECT_EQ(Run(*profile), 1);
    server.Kick("alice");
    EXPECT_TRUE(server.WaitForLog("size=", 3)) << server.Log();
    screen.RunCallback([&] {
        EXPECT_EQ(Text(*profile, 1), "(none)");
        EXPECT_EQ(Text(*profile, 1), "(none)");
    });
    EXPECT_EQ(profile->serverSocket, -1);
}

TEST_F(Dovecot, RemoveMode) {
    std::string large;
    for (int i = 0; i < 40000; i++)
        large += (i % 7 ? "A line of a large message, number " : ".") + std::to_string(i) + "\r\n";
    auto const mail = [&](int i) { return Mail(i, i == 5 ? large : "Hello.\r\n"); };
    for (int i = 1; i <= 20; i++)
        server.Put("alice", mail(i));
    AccountRef<MailProfile> const profile = MakeProfile("home", server.Address(), false);
    screen.AddProfile(*profile, true);
    EXPECT_EQ(Run(*profile), 1);
    ASSERT_EQ(screen.Rows().size(), 20u);
    EXPECT_EQ(screen.Rows()[19].text, Row(20));
    EXPECT_EQ(screen.Rows()[19].data.origin, kStored);
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
    for (int i = 0; i < kProfiles; i++) {
        profiles.push_back(MakeProfile("p" + std::to_string(i), server.Address(), i != 5, i == 5 ? "bob" : "alice"));
        screen.AddProfile(*profiles[i], i == 0);
    }
    std::vector<std::jthread> workers;
    std::atomic<int> done = 0;
    for (int i = 0; i < 3 * kProfiles; i++)
        workers.emplace_back([&, i] {
            EXPECT_EQ(CheckMailSession(*profiles[static_cast<size_t>(i % kProfiles)], ABW_treeMessageHeaders), 1);
            done++;
        });
    EXPECT_TRUE(screen.PaintUntil([&] {
        // Meanwhile the main thread asks for the locks and uses a connection, as reading and the keep-alive do.
        screen.RunCallback([&] { Text(*profiles[1], 1); });
        return done == 3 * kProfiles;
    }));
    workers.clear();
    EXPECT_EQ(screen.Rows().size(), static_cast<size_t>(kMessages)); // of the open profile
    EXPECT_EQ(profiles[5]->serverMessageCount, kMessages);
    EXPECT_EQ(server.Count("bob"), 0);
    for (auto const &profile : profiles)
        EXPECT_EQ(LockValue(*profile), 1);
}

} // namespace
