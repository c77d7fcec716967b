// A disk that is really full, and one that may only be read: what was stored stays, what does not fit is refused
// whole, and with room again all goes on.

#include "base/fd.h"
#include "hostile/driven_store.h"
#include "hostile/mailbox_server.h"

#include <cerrno>
#include <cstring>
#include <functional>
#include <gtest/gtest.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/wait.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

constexpr int kNotPermitted = 77;

/// A private mount table, as root or as root of a user namespace of its own, with a disk of 64 KB at `place`.
bool MountSmallDisk(std::string const &place) {
    uid_t const user = getuid();
    gid_t const group = getgid();
    if (unshare(CLONE_NEWNS) != 0) {
        if (unshare(CLONE_NEWUSER | CLONE_NEWNS) != 0)
            return false;
        WriteFile("/proc/self/setgroups", "deny");
        WriteFile("/proc/self/uid_map", "0 " + std::to_string(user) + " 1");
        WriteFile("/proc/self/gid_map", "0 " + std::to_string(group) + " 1");
    }
    return mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
           mount("corvanta", place.c_str(), "tmpfs", MS_NODEV | MS_NOSUID, "size=64k") == 0;
}

/// Does `work` in a process of its own in which `place` is a disk of 64 KB.
void OnSmallDisk(std::string const &place, std::function<void()> const &work) {
    fflush(nullptr);
    pid_t const child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        if (!MountSmallDisk(place))
            _exit(kNotPermitted);
        work();
        fflush(nullptr);
        _exit(testing::Test::HasFailure() ? 1 : 0);
    }
    int status = -1;
    while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    if (WIFEXITED(status) && WEXITSTATUS(status) == kNotPermitted)
        GTEST_SKIP() << "a disk of the test's own may not be mounted here";
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << "see the failures above; status " << status;
}

std::string Message(int number, size_t size) {
    std::string text = "Subject: " + std::to_string(number) + "\r\n\r\n";
    while (text.size() < size)
        text += "a line of the message\r\n";
    return text;
}

class SmallDisk : public testing::Test {
  protected:
    /// Stores messages of about `size` bytes until one is refused.
    void Fill(size_t size) {
        for (int i = 0; i < 1000; i++) {
            std::string const text = Message(i, size);
            int32_t const number = AppendMessage(inbox.c_str(), text);
            if (number < 0)
                return;
            EXPECT_TRUE(stored.emplace(number, text).second) << number << " was given twice";
        }
        ADD_FAILURE() << "the disk does not get full";
    }

    /// All that was stored is there, and listed; a record without a file may be left from a refused message.
    void ExpectStored() const {
        EXPECT_EQ(StoredTexts(inbox), stored);
        std::map<int32_t, std::string> rows = StoredRows(inbox);
        for (auto const &[number, text] : stored)
            EXPECT_EQ(rows[number], " \t" + text.substr(8, text.find('\r') - 8) + "\t\t\t") << number;
    }

    Scratch scratch;
    std::string root = scratch.Path();
    std::string inbox = root + "Inbox/";
    std::map<int32_t, std::string> stored; ///< by number
};

TEST_F(SmallDisk, FullWhileStoringThenReadOnly) {
    OnSmallDisk(root, [&] {
        ASSERT_EQ(CreateFolder(inbox.c_str()), 0);
        for (size_t const size : {9000u, 100u}) {
            Fill(size);
            ExpectStored();
        }
        EXPECT_GE(stored.size(), 5u);
        // A number without the room for a message is given back whole, and not to anybody else.
        int32_t number = -1;
        if (Fd const reserved(ReserveMessage(inbox.c_str(), number)); reserved.Valid()) {
            EXPECT_FALSE(WriteAll(reserved.Get(), Message(1, 9000)));
            EXPECT_EQ(DeleteMessage(inbox.c_str(), number), 0);
        }
        ExpectStored();
        // One message goes, the next one takes its room, under a number of its own.
        auto const first = stored.begin()->first;
        EXPECT_EQ(DeleteMessage(inbox.c_str(), first), 0);
        stored.erase(first);
        int32_t const next = AppendMessage(inbox.c_str(), Message(7, 200));
        EXPECT_GT(next, std::max(number, stored.rbegin()->first));
        stored[next] = Message(7, 200);
        ExpectStored();

        ASSERT_EQ(mount(nullptr, root.c_str(), nullptr, MS_REMOUNT | MS_RDONLY, nullptr), 0) << strerror(errno);
        EXPECT_EQ(AppendMessage(inbox.c_str(), Message(4, 50)), -1);
        EXPECT_EQ(DeleteMessage(inbox.c_str(), next), -1);
        number = -1;
        EXPECT_LT(ReserveMessage(inbox.c_str(), number), 0);
        EXPECT_EQ(number, -1);
        EXPECT_EQ(CreateFolder((root + "other").c_str()), -1);
        ExpectStored();
    });
}

/// What does not fit stays on the server and comes at a later check.
TEST_F(SmallDisk, FullDuringACheck) {
    std::vector<std::string> mailbox;
    for (int i = 1; i <= 15; i++)
        mailbox.push_back(Message(i, 9000));
    MailboxServer server(mailbox);
    OnSmallDisk(root, [&] {
        inbox = root + ".Corvanta/home/Inbox/";
        fs::create_directories(root + ".Corvanta/home");
        ASSERT_EQ(CreateFolder(inbox.c_str()), 0);
        auto const check = [&] { return RunDriver("session", scratch, server.Address()).result; };
        EXPECT_EQ(check(), "-1");
        stored = StoredTexts(inbox);
        ExpectStored();
        size_t const some = stored.size();
        EXPECT_GE(some, 3u);
        std::vector<std::string> got;
        for (auto const &[number, text] : stored) {
            got.push_back(text);
            DeleteMessage(inbox.c_str(), number);
        }
        EXPECT_EQ(check(), "-1") << "the rest does not fit at once either";
        for (auto const &[number, text] : StoredTexts(inbox)) {
            EXPECT_FALSE(stored.contains(number)) << number << " was given twice";
            got.push_back(text);
        }
        EXPECT_GT(got.size(), some);
        ASSERT_LE(got.size(), mailbox.size());
        EXPECT_TRUE(std::equal(got.begin(), got.end(), mailbox.begin()));
    });
    if (IsSkipped())
        return;
    // The server has let go of what was stored, and of that only.
    size_t const left = server.Messages().size();
    EXPECT_LT(left, mailbox.size());
    EXPECT_GT(left, 0u);
    EXPECT_EQ(server.Messages(), std::vector<std::string>(mailbox.end() - static_cast<long>(left), mailbox.end()));
}

} // namespace
