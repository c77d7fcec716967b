// A POP3 server that misbehaves in each way at each step of a check: the check ends soon, says what happened, lets go
// of the lock and the connection, and each message is on the server or whole on disk.

#include "base/paths.h"
#include "fixtures/process.h"
#include "hostile/mailbox_server.h"
#include "net/connection.h"
#include "pop/mailbox.h"
#include "protocol/mail_fixture.h"
#include "store/folder.h"

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <gtest/gtest.h>
#include <set>

namespace {

constexpr char kLost[] = "Lost the connection to the mail server";

std::string Message(std::string const &subject) {
    return "Subject: " + subject + "\r\nFrom: a@example.org\r\nDate: today\r\n\r\nThe text of " + subject + ".\r\n";
}
std::vector<std::string> const kMailbox = {Message("one"), Message("two")};

// The replies of a whole session: greeting, USER, PASS, STAT, then two of RETR, DELE or two of TOP, then QUIT or the
// RETR of somebody who reads.
constexpr int kStat = 3;
constexpr int kLastReply[] = {8, 6}; ///< without and with leaving the mail on the server

/// Without the line ends at its end, and without the end mark: a message may lose the last line end to a size that is
/// short of it, and keeps the mark when no size was announced.
std::string Trimmed(std::string text) {
    if (text.ends_with("\r\n.\r\n"))
        text.resize(text.size() - 5);
    return text.substr(0, text.find_last_not_of("\r\n") + 1);
}

class Dialogue : public testing::Test {
  protected:
    /// One whole check with the fault in it, and what must hold whatever the fault is. Returns its end.
    Ending Run(Fault const &fault, bool leave, std::vector<std::string> const &mailbox = kMailbox) {
        Outcome outcome;
        std::filesystem::remove_all(FolderDirectory("home", ""));
        {
            MailboxServer server(mailbox, fault);
            AccountRef<MailProfile> const profile = MakeProfile("home", server.Address(), leave);
            ToldCheck check;
            auto const start = std::chrono::steady_clock::now();
            testing::internal::CaptureStdout();
            outcome = CheckMail(*profile, check);
            testing::internal::GetCapturedStdout();
            EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(60));
            EXPECT_EQ(LockValue(*profile), 1);
            taken = profile->serverMessageCount;
            if (leave && outcome) {
                FetchedMessage const message = FetchMessage(*profile, 1);
                got = message.text;
                outcome = message.outcome;
            }
            connected = profile->serverSocket > 0;
            status = outcome.text;
            rows = check.rows;
            told = check.told;
            CloseConnection(*profile);
            ExpectNothingLost(server.Messages(), InboxOf(*profile), mailbox);
        }
        // What the first session of a process opens once stays open.
        static int const descriptors = CountDescriptors();
        EXPECT_EQ(CountDescriptors(), descriptors);
        return outcome.ending;
    }

    static void ExpectNothingLost(std::vector<std::string> const &left, std::string const &inbox,
                                  std::vector<std::string> const &mailbox) {
        std::set<std::string> there;
        for (std::string const &message : left)
            there.insert(Trimmed(message));
        ReadFolderIndex(inbox.c_str(), [&](IndexRecord const &record) {
            there.insert(Trimmed(FileText(inbox + std::to_string(record.number))));
        });
        // The rest of a reply that ended at an 8-bit letter may stand in front of a message.
        for (std::string const &message : mailbox)
            EXPECT_TRUE(std::any_of(there.begin(), there.end(),
                                    [&](auto const &text) { return text.ends_with(Trimmed(message)); }))
                << message << " is neither on the server nor whole on disk";
    }

    // What the last run has left.
    std::string status, got, told; ///< `got` is the first message, read after a whole check that leaves it
    int rows = 0;
    int taken = 0; ///< messages of the list that are no news any more
    bool connected = false;
};

TEST_F(Dialogue, EndsWellWhateverHappensAtWhichStep) {
    for (Misbehaviour const &way : Misbehaviours())
        for (bool const leave : {false, true})
            for (int step = 0; step <= kLastReply[leave]; step++) {
                SCOPED_TRACE(std::string(way.name) + (leave ? ", leaving, reply " : ", removing, reply ") +
                             std::to_string(step));
                Fault fault = way.fault;
                fault.reply = step;
                got.clear();
                Ending const end = Run(fault, leave);
                if (way.effect == Misbehaviour::kHarmless) {
                    EXPECT_EQ(end, Ending::kDone);
                    EXPECT_EQ(rows, 2);
                    EXPECT_EQ(got, leave ? kMailbox[0] : "");
                }
                if (way.effect == Misbehaviour::kLosing && end == Ending::kDone) {
                    EXPECT_EQ(step, kLastReply[leave]) << "only reading connects again";
                    EXPECT_EQ(got, kMailbox[0]);
                } else if (way.effect == Misbehaviour::kLosing) {
                    EXPECT_FALSE(connected);
                    EXPECT_TRUE(status == kLost || status == "Could not connect to mail server") << status;
                }
                if (leave) {
                    EXPECT_EQ(taken, rows) << "what has no row must come again";
                }
            }
}

/// A fault of the disk between two replies.
TEST_F(Dialogue, LetsTheServerKeepWhatIsNotOnDisk) {
    struct {
        int reply;
        char const *gone, *status;
    } const cases[] = {
        {kStat, "", "Message 1 could not be stored, it stays on the server"},
        {kStat + 4, "index2", "The messages could not be stored safely, they stay on the server"},
    };
    for (auto const &one : cases) {
        auto const remove = [&](std::string const &reply) {
            std::filesystem::remove_all(FolderDirectory("home", "Inbox") + one.gone);
            return reply;
        };
        EXPECT_EQ(Run({.reply = one.reply, .bytes = remove}, false), Ending::kFailed);
        EXPECT_EQ(status, one.status);
    }
}

/// Replaces the first number of a reply.
auto Count(std::string number) {
    return [number](std::string const &reply) {
        size_t const digit = reply.find_first_of("0123456789");
        size_t const end = std::min(reply.find_first_not_of("0123456789", digit), reply.size());
        return digit == reply.npos ? reply : reply.substr(0, digit) + number + reply.substr(end);
    };
}

TEST_F(Dialogue, LiesAboutTheSizeOfAMessage) {
    std::string const size = std::to_string(kMailbox[0].size());
    std::vector<std::string> lies = {
        "0", "1", "-5", "2147483647", "4294967295", "1073741825", "99999999999999999999", "octets follow"};
    for (int const off : {-2, -1, 1, 3, 1000})
        lies.push_back(std::to_string(static_cast<int>(kMailbox[0].size()) + off));
    for (std::string const &lie : lies) {
        SCOPED_TRACE(lie + " instead of " + size);
        EXPECT_EQ(Run({.reply = kStat + 1, .bytes = Count(lie)}, false), Ending::kDone);
        EXPECT_EQ(rows, 2);
        EXPECT_EQ(Run({.reply = kStat + 3, .bytes = Count(lie)}, true), Ending::kDone);
        EXPECT_EQ(Trimmed(got), Trimmed(kMailbox[0]));
    }
}

TEST_F(Dialogue, LiesAboutTheNumberOfMessages) {
    for (std::string const lie : {"-1", "-2147483649", "99999999999999", "1", "3", "none"})
        for (bool const leave : {false, true}) {
            SCOPED_TRACE(lie + (leave ? ", leaving" : ", removing"));
            Run({.reply = kStat, .bytes = Count(lie)}, leave);
        }
    EXPECT_EQ(Run({.reply = kStat, .bytes = Count("2147483647")}, true), Ending::kRefused);
    EXPECT_EQ(status, "The mail server has no headers for its messages");
}

TEST_F(Dialogue, MessageThatLooksLikeTheDialogue) {
    // Dots, end marks that are none, replies and commands within the text.
    std::vector<std::string> const mailbox = {
        "Subject: +OK 5\r\n\r\n+OK 5 octets\r\n-ERR no\r\nQUIT\r\n. \r\n\n.\n\r\n x.\r\n", Message("two")};
    EXPECT_EQ(Run({}, false, mailbox), Ending::kDone);
    EXPECT_EQ(rows, 2);
    EXPECT_EQ(Run({.reply = kStat + 1, .piece = 1}, false, mailbox), Ending::kDone);
    EXPECT_EQ(Run({.reply = kStat + 3, .piece = 3}, true, mailbox), Ending::kDone);
    EXPECT_EQ(got, mailbox[0]);
}

} // namespace
