// A server that falls silent: the real wait, once.

#include "fixtures/scripted_server.h"
#include "net/server.h"
#include "pop/message.h"
#include "protocol/screen.h"

#include <gtest/gtest.h>

namespace {

TEST(Silence, EndsADownload) {
    Screen screen;
    ScriptedServer server(Script{Expect("RETR 1"), Send("+OK 100 octets\r\nSubject: a\r\n"), Stall()});
    AccountRef<MailProfile> const profile = MakeProfile("p", server.Address(), true);
    profile->serverSocket = OpenMailConnection(*profile, nullptr, kPop3);
    auto const start = std::chrono::steady_clock::now();
    EXPECT_EQ(getMessage(1, *profile, 0), nullptr);
    auto const waited = std::chrono::steady_clock::now() - start;
    EXPECT_GE(waited, std::chrono::seconds(kSilenceSeconds - 1));
    EXPECT_LT(waited, std::chrono::seconds(kSilenceSeconds + 10));
    EXPECT_EQ(profile->serverSocket, -1);
    EXPECT_EQ(LockValue(*profile), 1);
    EXPECT_EQ(screen.Status(), "Lost the connection to the mail server");
}

} // namespace
