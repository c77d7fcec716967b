// A POP3 server that misbehaves in each way at each step of a check: the check ends soon, says what happened, lets go
// of the lock and the connection, and each message is on the server or whole on disk.

#include "base/text.h"
#include "fixtures/process.h"
#include "hostile/mailbox_server.h"
#include "net/server.h"
#include "pop/check_mail.h"
#include "pop/message.h"
#include "protocol/screen.h"
#include "store/folder.h"
#include "ui/widgets.h"
#include "widgets/activity.h"

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

std::string Same(std::string const &reply) { return reply; }
std::string Nothing(std::string const &) { return ""; }
std::string Half(std::string const &reply) { return reply.substr(0, reply.size() / 2); }
auto Instead(std::string bytes) {
    return [bytes](std::string const &) { return bytes; };
}

/// What belongs to a message follows as it should.
auto FirstLineInstead(std::string line) {
    return [line](std::string const &reply) { return line + reply.substr(reply.find('\n') + 1); };
}

/// A way to misbehave at any step.
struct Way {
    char const *name;
    Fault fault;
    bool harmless = false; ///< the session must not notice
    bool loses = false;    ///< the connection cannot be used after it
};

void PrintTo(Way const &way, std::ostream *out) { *out << way.name; }

std::vector<Way> Ways() {
    Fault const close{.bytes = Nothing, .then = Fault::kClose};
    Fault const torn{.bytes = Half, .then = Fault::kClose};
    Fault const reset{.bytes = Half, .then = Fault::kReset};
    auto const endless = [](char byte) {
        return Fault{.bytes = Instead(std::string(1 << 20, byte)), .times = 20, .then = Fault::kClose};
    };
    return {
        {"Close", close, false, true},
        {"Torn", torn, false, true},
        {"Reset", reset, false, true},
        {"Bytewise", {.bytes = Same, .piece = 1}, true},
        {"Refusal", {.bytes = Instead("-ERR <b>%s%n%n</b>\r\n")}},
        {"Eightbit", {.bytes = Instead("\xff\xfe\xe9\xe9 +OK\r\n")}},
        {"EightbitOk", {.bytes = FirstLineInstead("+OK gel\xf6scht \xe4\r\n")}},
        {"Nuls", {.bytes = Instead(std::string("\0\0+OK\0\r\n", 8))}},
        {"EmptyLines", {.bytes = Instead("\r\n\r\n\n\n")}},
        {"LongLine", {.bytes = FirstLineInstead("+OK " + std::string(300'000, 'x') + "\r\n")}},
        {"EndlessLine", endless('x'), false, true},
        {"EndlessEightbit", endless('\xe9')},
        {"EndlessNuls", endless('\0')},
        {"EndlessLines",
         {.bytes = Instead([] {
              std::string lines;
              while (lines.size() < 1 << 20)
                  lines += "+OK 12 more\r\n";
              return lines;
          }()),
          .times = 20,
          .then = Fault::kClose}},
    };
}

/// Without the line ends at its end, and without the end mark: a message may lose the last line end to a size that is
/// short of it, and keeps the mark when no size was announced.
std::string Trimmed(std::string text) {
    if (text.ends_with("\r\n.\r\n"))
        text.resize(text.size() - 5);
    return text.substr(0, text.find_last_not_of("\r\n") + 1);
}

class Dialogue : public testing::Test {
  protected:
    /// What the first session of a process opens once stays open.
    static void SetUpTestSuite() {
        warm = false;
        Dialogue().Run({}, false);
        warm = true;
    }
    void TestBody() override {}

    /// One whole check with the fault in it, and what must hold whatever the fault is. Returns its result.
    int Run(Fault const &fault, bool leave, std::vector<std::string> const &mailbox = kMailbox) {
        int const descriptors = CountDescriptors();
        int result = 0;
        {
            Screen screen;
            MailboxServer server(mailbox, fault);
            AccountRef<MailProfile> const profile = MakeProfile("home", server.Address(), leave);
            screen.AddProfile(*profile, true);
            auto const start = std::chrono::steady_clock::now();
            screen.RunCallback(BeginActivity);
            testing::internal::CaptureStdout();
            screen.RunWorker([&] { result = CheckMailSession(*profile, ABW_treeMessageHeaders); });
            if (leave && result == 1)
                screen.RunCallback([&] { got = TextOf(getMessage(1, *profile, 0)); });
            testing::internal::GetCapturedStdout();
            took = std::chrono::steady_clock::now() - start;
            EXPECT_LT(took, std::chrono::seconds(20));
            EXPECT_EQ(LockValue(*profile), 1);
            EXPECT_EQ(screen.Blocked(), 0);
            status = screen.Status();
            rows = screen.Rows().size();
            CloseConnection(*profile);
            ExpectNothingLost(server.Messages(), InboxOf(*profile), mailbox);
        }
        EXPECT_TRUE(!warm || CountDescriptors() == descriptors) << CountDescriptors() << " from " << descriptors;
        return result;
    }

    static std::string TextOf(char *message) {
        std::string const text = message ? message : "";
        free(message);
        return text;
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

    static inline bool warm = false;
    std::string status, got;
    size_t rows = 0;
    std::chrono::steady_clock::duration took{};
};

class EveryStep : public Dialogue, public testing::WithParamInterface<Way> {};

TEST_P(EveryStep, EndsWell) {
    Way const way = GetParam();
    for (bool const leave : {false, true})
        for (int step = 0; step <= kLastReply[leave]; step++) {
            SCOPED_TRACE(std::string(way.name) + (leave ? ", leaving, reply " : ", removing, reply ") +
                         std::to_string(step));
            Fault fault = way.fault;
            fault.reply = step;
            got.clear();
            int const result = Run(fault, leave);
            if (way.harmless) {
                EXPECT_EQ(result, 1);
                EXPECT_EQ(rows, 2u);
                EXPECT_EQ(got, leave ? kMailbox[0] : "");
            }
            EXPECT_TRUE(!way.loses || status == kLost || status == "Could not connect to mail server") << status;
            EXPECT_TRUE(result == 1 || got.empty());
        }
}

INSTANTIATE_TEST_SUITE_P(Server, EveryStep, testing::ValuesIn(Ways()),
                         [](auto const &info) { return std::string(info.param.name); });

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
        EXPECT_EQ(Run({.reply = kStat + 1, .bytes = Count(lie)}, false), 1);
        EXPECT_EQ(rows, 2u);
        EXPECT_EQ(Run({.reply = kStat + 3, .bytes = Count(lie)}, true), 1);
        EXPECT_EQ(Trimmed(got), Trimmed(kMailbox[0]));
    }
}

TEST_F(Dialogue, LiesAboutTheNumberOfMessages) {
    for (std::string const lie : {"-1", "-2147483649", "99999999999999", "2147483647", "1", "3", "none"})
        for (bool const leave : {false, true}) {
            SCOPED_TRACE(lie + (leave ? ", leaving" : ", removing"));
            Run({.reply = kStat, .bytes = Count(lie)}, leave);
        }
}

TEST_F(Dialogue, MessageThatLooksLikeTheDialogue) {
    // Dots, end marks that are none, replies and commands within the text.
    std::vector<std::string> const mailbox = {
        "Subject: +OK 5\r\n\r\n+OK 5 octets\r\n-ERR no\r\nQUIT\r\n. \r\n\n.\n\r\n x.\r\n", Message("two")};
    EXPECT_EQ(Run({}, false, mailbox), 1);
    EXPECT_EQ(rows, 2u);
    EXPECT_EQ(Run({.reply = kStat + 1, .bytes = Same, .piece = 1}, false, mailbox), 1);
    EXPECT_EQ(Run({.reply = kStat + 3, .bytes = Same, .piece = 3}, true, mailbox), 1);
    EXPECT_EQ(got, mailbox[0]);
}

} // namespace
