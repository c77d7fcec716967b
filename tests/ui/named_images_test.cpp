// A message with pictures on a system that has nothing to decode them safely with.

#include "fixtures/dovecot_server.h"
#include "fixtures/temp_home.h"
#include "ui/person.h"
#include "ui/sample.h"
#include "ui/take_seccomp.h"

#include <QTextBrowser>

#include <gtest/gtest.h>

namespace {

/// Pixels of the page that are neither black, white nor gray.
int ColouredPixels() {
    QImage const page = qobject_cast<QTextBrowser *>(Find("webEmailMessage"))->viewport()->grab().toImage();
    int count = 0;
    for (int y = 0; y < page.height(); y++)
        for (int x = 0; x < page.width(); x++)
            count += page.pixelColor(x, y).saturation() > 100;
    return count;
}

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
            Wait(300); // pictures would come now
            EXPECT_EQ(ColouredPixels(), 0) << "a picture is shown";
            TakePicture("base", "named-images.png");
            Click("btnHome");
        }
    });
}

} // namespace
