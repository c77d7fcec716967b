// Large attachments through the real window: how long it stands still, and what it costs.

#include "fixtures/temp_home.h"
#include "store/folder.h"
#include "ui/person.h"
#include "ui/sample.h"

#include <QElapsedTimer>
#include <QTimer>
#include <QWidget>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

constexpr size_t kSize = 50'000'000;

/// The longest time between two turns of the event loop. Not while the file dialog is up, which reads directories.
class Stillness {
  public:
    Stillness() {
        QObject::connect(&timer_, &QTimer::timeout, &timer_, [this] {
            double const gap = static_cast<double>(clock_.nsecsElapsed()) / 1e9;
            clock_.start();
            if (!std::exchange(asked_, IsShown("PtFileSelection")))
                longest_ = std::max(longest_, gap);
        });
        clock_.start();
        timer_.start(1);
    }
    double Longest() const { return longest_; }

  private:
    QTimer timer_;
    QElapsedTimer clock_;
    bool asked_ = false;
    double longest_ = 0;
};

/// The largest memory that this process had at once, in bytes.
size_t PeakMemory() {
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);)
        if (line.starts_with("VmHWM:"))
            return strtoul(line.c_str() + 6, nullptr, 10) * 1024;
    return 0;
}

/// Makes the memory at hand the largest there was.
void ForgetPeak() { std::ofstream("/proc/self/clear_refs") << "5"; }

bool SendIsFree() {
    return WaitFor([] { return Find("pic_btnSend")->isEnabled(); }, 60000);
}

class Attaching : public testing::Test {
  protected:
    void SetUp() override {
        ClearTempHome();
        MakeProfile("127.0.0.1:1", true);
    }
};

TEST_F(Attaching, AFileOf50MegabytesLeavesTheWindowAlive) {
    std::string const file = TempHome() + "/large.bin";
    std::ofstream(file, std::ios::binary) << std::string(kSize, 'x');
    Sitting([&] {
        Click("btnCompose");
        ForgetPeak();
        size_t const before = PeakMemory();
        Stillness const still;
        WhenAskedForFile(QString::fromStdString(file));
        Click("pic_btnAttachment");
        ASSERT_TRUE(WaitFor([] { return Rows("pic_treeAttachments").size() == 1; }, 60000));
        ASSERT_TRUE(SendIsFree());
        double const times = static_cast<double>(PeakMemory() - before) / kSize;
        printf("50 MB attached: the window stood still for %.3f s, memory %.2f times the file\n", still.Longest(),
               times);
        EXPECT_LT(still.Longest(), 0.3);
        EXPECT_LT(times, 3.0);
        Click("pic_btnCancel");
    });
}

TEST_F(Attaching, AForwardedPartOf50MegabytesToo) {
    std::string line(76, '\xE4');
    std::string mail = "From: bob@example.org\r\nTo: alice@example.org\r\nSubject: Large\r\nMIME-Version: 1.0\r\n"
                       "Content-Type: multipart/mixed; boundary=\"b\"\r\n\r\n--b\r\nContent-Type: text/plain\r\n\r\n"
                       "See below\r\n--b\r\nContent-Type: application/octet-stream; name=\"large.bin\"\r\n"
                       "Content-Disposition: attachment; filename=\"large.bin\"\r\n"
                       "Content-Transfer-Encoding: 8bit\r\n\r\n";
    while (mail.size() < kSize)
        mail.append(line).append("\r\n");
    mail += "\r\n--b--\r\n";
    ASSERT_GT(AppendMessage((Root() + "home/Inbox/").c_str(), mail), 0);
    Sitting([] {
        ClickRow("treeProfiles", "Inbox");
        ASSERT_TRUE(WaitFor([] { return Rows("treeMessageHeaders").size() == 1; }));
        WaitFor([] { return Find("treeMessageHeaders")->isEnabled(); });
        ClickRow("treeMessageHeaders", "Large");
        ASSERT_TRUE(WaitFor([] { return Rows("treeAttachments").size() == 1; }, 30000));
        ASSERT_TRUE(WaitFor([] { return fs::exists(Root() + ".tmp/msg.html"); }));
        Wait(300);
        Stillness const still;
        Click("btnForward");
        ASSERT_TRUE(WaitFor([] { return Rows("pic_treeAttachments").size() == 1; }, 60000));
        ASSERT_TRUE(SendIsFree());
        printf("50 MB forwarded: the window stood still for %.3f s\n", still.Longest());
        EXPECT_LT(still.Longest(), 0.3);
        WhenAsked("Discard it");
        Click("pic_btnCancel");
    });
}

TEST_F(Attaching, WhatCannotBeReadWholeIsNamed) {
    std::string const sparse = TempHome() + "/sparse.bin";
    std::ofstream(sparse, std::ios::binary) << "";
    ASSERT_EQ(truncate(sparse.c_str(), (1L << 30) + 1), 0);
    Sitting([&] {
        Click("btnCompose");
        // Too large; a file whose reading fails; one that has more than it says.
        for (std::string const &file : {sparse, std::string("/proc/self/mem"), std::string("/proc/self/status")}) {
            int const boxes = static_cast<int>(Boxes().size());
            WhenAskedForFile(QString::fromStdString(file));
            WhenAsked("Close");
            Click("pic_btnAttachment");
            ASSERT_TRUE(WaitFor([=] { return Boxes().size() == boxes + 2; })) << file;
            EXPECT_EQ(Boxes().last().toStdString(),
                      "Error|The file " + file.substr(file.rfind('/') + 1) + " could not be attached");
            EXPECT_EQ(Rows("pic_treeAttachments"), QStringList());
            ASSERT_TRUE(SendIsFree());
        }
        Click("pic_btnCancel");
    });
}

} // namespace
