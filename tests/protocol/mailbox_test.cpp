// What is done with a mailbox between the checks, over connections that servers close.

#include "pop/mailbox.h"

#include "fixtures/dialogue.h"
#include "net/connection.h"
#include "protocol/mail_fixture.h"

#include <gtest/gtest.h>

namespace {

std::string Do(std::string const &what, MailProfile &profile) {
    if (what == "delete")
        return Said(DeleteOnServer(profile, 2));
    if (what == "keep alive, fetch")
        KeepAlive(profile);
    FetchedMessage const message = FetchMessage(profile, 2);
    return Said(message.outcome) + (message.outcome ? " " + message.text : "");
}

TEST(Mailbox, EachDialogue) {
    for (Dialogue const &one : ReadDialogues("pop/mailbox")) {
        SCOPED_TRACE(one.name);
        ScriptedServer server(one);
        AccountRef<MailProfile> const profile = MakeProfile("p", server.Address(), true);
        profile->serverMessageCount = 3;
        if (one.Has("first")) {
            EXPECT_TRUE(EnsureLoggedIn(*profile));
        }
        for (int i = 0; one["first"] == "closed" && profile->stream->Idle() && i < 1000; i++)
            usleep(1000);
        EXPECT_EQ(Do(one["do"], *profile), one["outcome"]);
        if (one.Has("count")) {
            EXPECT_EQ(std::to_string(profile->serverMessageCount), one["count"]);
            EXPECT_EQ(profile->serverSocket, -1);
        }
        CloseConnection(*profile);
        EXPECT_EQ(server.Problems(), "");
    }
}

TEST(Mailbox, StopEndsEachWait) {
    for (Script const &script : {Script{Stall()}, Script{Send("+OK\r\n"), Skip(), Stall()}}) {
        ScriptedServer server(script);
        AccountRef<MailProfile> const profile = MakeProfile("p", server.Address(), true);
        auto const start = std::chrono::steady_clock::now();
        auto const soon = [start] {
            return std::chrono::steady_clock::now() - start > std::chrono::milliseconds(50);
        };
        EXPECT_EQ(FetchMessage(*profile, 1, soon).outcome.ending, Ending::kStopped);
        EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(2));
        EXPECT_EQ(profile->serverSocket, -1);
    }
}

} // namespace
