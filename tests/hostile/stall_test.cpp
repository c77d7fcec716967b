// A server that falls silent at each step of a check, in front of the real main window: it can be worked with, and
// closing it ends the program at once, not when the server's time is over.

#include "fixtures/temp_home.h"
#include "hostile/mailbox_server.h"
#include "ui/person.h"
#include "ui/sample.h"

#include <chrono>
#include <gtest/gtest.h>

namespace {

TEST(stall, WindowStaysUsableAndCloses) {
    for (bool const leave : {false, true})
        for (int step = 0; step <= 5; step++) {
            SCOPED_TRACE((leave ? "leaving, reply " : "removing, reply ") + std::to_string(step));
            ClearTempHome();
            // Nothing instead of the reply, and the connection stays open.
            MailboxServer server({PlainMail("one"), PlainMail("two")},
                                 {.reply = step, .bytes = [](std::string const &) { return std::string(); }});
            MakeProfile(server.Address(), leave, 100'000);
            auto const start = std::chrono::steady_clock::now();
            Sitting([] {
                ClickRow("treeProfiles", "Inbox");
                Wait(200);
                EXPECT_NE(Text("lblStatus"), "") << "it says what it waits for";
                ChooseFromMenuBar("mnuHelp_About");
                EXPECT_EQ(Text("lblAboutName"), "Corvanta");
                Click("btnCloseAbout");
                Click("btnHome");
                EXPECT_TRUE(WaitFor([] { return Text("webEmailMessage").contains("Corvanta"); }));
            });
            EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(15));
            EXPECT_EQ(server.Messages().size(), 2u);
        }
}

} // namespace
