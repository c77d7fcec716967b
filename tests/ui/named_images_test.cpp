// A message with pictures on a system that has nothing to decode them safely with.

#include "fixtures/dovecot_server.h"
#include "fixtures/temp_home.h"
#include "ui/person.h"
#include "ui/sample.h"
#include "vserver/take_seccomp.h"

#include <gtest/gtest.h>

namespace {

TEST(NamedImages, AreFramesAndTheStatusSaysSoOnce) {
    ClearTempHome();
    DovecotServer server;
    ASSERT_GT(server.Port(), 0);
    MakeProfile(server.Address(), true);
    server.Put("alice", DemoMail("25-pictures"));
    ASSERT_TRUE(TakeSeccompAway());
    Sitting([&] {
        EXPECT_TRUE(WaitFor([] { return Text("lblStatus").startsWith("Images are shown by name only"); }))
            << Text("lblStatus").toStdString();
        OpenInbox();
        for (int i = 0; i < 2; i++) {
            ClickRow("treeMessageHeaders", "Pictures");
            EXPECT_TRUE(PageShows("See you at the fountain"));
            EXPECT_EQ(Text("lblStatus"), "") << "not again";
            TakePicture("base", "named-images.png");
            Click("btnHome");
        }
    });
}

} // namespace
