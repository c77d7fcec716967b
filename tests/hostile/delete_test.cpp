// A POP3 server that misbehaves in each way at each step of the Delete command: the command ends, its row says what
// is true as far as it can be known, and the connection and the lock are let go.

#include "app/message_commands.h"
#include "fixtures/process.h"
#include "hostile/mailbox_server.h"
#include "net/server.h"
#include "profiles/profile_tree.h"
#include "protocol/screen.h"
#include "store/folder.h"
#include "ui/widgets.h"

#include <chrono>
#include <gtest/gtest.h>

namespace {

std::vector<std::string> const kMailbox = {"Subject: one\r\n\r\nText\r\n", "Subject: two\r\n\r\nText\r\n",
                                           "Subject: three\r\n\r\nText\r\n"};

// The replies of the session.
enum { kGreeting, kUser, kPass, kDele, kQuit };

struct Way {
    char const *name;
    Fault fault;
    bool loses = false;   ///< the reply never comes
    bool refuses = false; ///< it comes and is no
};

auto Instead(std::string bytes) {
    return [bytes](std::string const &) { return bytes; };
}

std::vector<Way> Ways() {
    auto const endless = [](char byte) {
        return Fault{.bytes = Instead(std::string(1 << 20, byte)), .times = 20, .then = Fault::kClose};
    };
    return {
        {"well", {}},
        {"closed", {.bytes = Instead(""), .then = Fault::kClose}, true},
        {"torn", {.bytes = Instead("+O"), .then = Fault::kClose}, true},
        {"reset", {.bytes = Instead("+O"), .then = Fault::kReset}, true},
        {"refused", {.bytes = Instead("-ERR <b>%s%n</b>\r\n")}, false, true},
        {"8-bit", {.bytes = Instead("+OK gel\xf6scht\r\n")}},
        {"long line", {.bytes = Instead("+OK " + std::string(300'000, 'x') + "\r\n")}},
        {"endless line", endless('x'), true},
        {"endless NULs", endless('\0')},
        {"flood", {.bytes = Instead("+OK\r\n+OK\r\n-ERR\r\n"), .times = 100'000, .then = Fault::kClose}},
    };
}

/// What the command has left behind.
struct After {
    std::vector<std::string> rows;
    std::vector<int32_t> numbers;
    std::string status;
    size_t left; ///< messages on the server
};

/// Deletes the second of three messages that are listed from the server.
After Delete(Fault const &fault) {
    Screen screen;
    MailboxServer server(kMailbox, fault);
    AccountRef<MailProfile> const profile = MakeProfile("home", server.Address(), true);
    screen.AddProfile(*profile, true);
    profile->serverMessageCount = 3;
    auto const start = std::chrono::steady_clock::now();
    screen.RunCallback([] {
        for (int32_t number = 1; number <= 3; number++) {
            std::string text = " \tmessage " + std::to_string(number);
            text.resize(kRowWidth);
            AddHeaderRow(text.c_str(), kRowWidth, kOnServer, number, ABW_treeMessageHeaders, lastHeaderItem);
        }
        PtTreeItem_t *const second = BrotherOf(PtTreeRootItem(ABW_treeMessageHeaders));
        PtGenTreeGoto(ABW_treeMessageHeaders, &second->gen);
        OnDeleteMessage(nullptr, nullptr, nullptr);
    });
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(20));
    EXPECT_EQ(LockValue(*profile), 1);
    EXPECT_LT(profile->serverSocket.load(), 1) << "each Delete is a session of its own";
    After after;
    after.status = screen.Status();
    for (Screen::Row const &row : screen.Rows()) {
        after.rows.push_back(row.text);
        after.numbers.push_back(row.data.number);
    }
    EXPECT_EQ(profile->serverMessageCount, static_cast<int>(after.rows.size()));
    after.left = server.Messages().size();
    return after;
}

TEST(Delete, EndsWellWhateverTheServerDoes) {
    Delete({});
    int const descriptors = CountDescriptors();
    for (Way const &way : Ways())
        for (int step = kGreeting; step <= kQuit; step++) {
            SCOPED_TRACE(std::string(way.name) + ", reply " + std::to_string(step));
            Fault fault = way.fault;
            fault.reply = step;
            After const after = Delete(fault);
            EXPECT_EQ(CountDescriptors(), descriptors);
            bool const gone = after.rows.size() == 2;
            EXPECT_EQ(after.numbers, gone ? std::vector<int32_t>({1, 2}) : std::vector<int32_t>({1, 2, 3}));
            EXPECT_TRUE(gone || !after.status.empty()) << "a row that stays says why";
            if (way.loses || (way.refuses && (step == kUser || step == kPass))) {
                EXPECT_FALSE(gone);
            }
            if (step <= kDele && way.loses) {
                EXPECT_EQ(after.left, 3u);
            }
            if (step == kQuit) {
                // The server had deleted it, and only its word for that was lost.
                EXPECT_EQ(after.left, 2u);
                EXPECT_TRUE(gone || after.status == "The connection was lost; the next check shows whether the "
                                                    "message is still on the server")
                    << after.status;
            }
            EXPECT_TRUE(!gone || after.status.empty()) << after.status;
        }
}

} // namespace
