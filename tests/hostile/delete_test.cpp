// A POP3 server that misbehaves in each way at each step of the Delete command: the command ends, its row says what
// is true as far as it can be known, and the connection and the lock are let go.

#include "app/message_commands.h"
#include "fixtures/process.h"
#include "hostile/mailbox_server.h"
#include "names/widgets.h"
#include "profiles/profile_tree.h"
#include "protocol/screen.h"
#include "store/folder.h"
#include "widgets/operation.h"
#include "widgets/tree_walk.h"

#include <chrono>
#include <gtest/gtest.h>

namespace {

std::vector<std::string> const kMailbox = {"Subject: one\r\n\r\nText\r\n", "Subject: two\r\n\r\nText\r\n",
                                           "Subject: three\r\n\r\nText\r\n"};

// The replies of the session.
enum { kGreeting, kUser, kPass, kDele, kQuit };

/// What the command has left behind.
struct After {
    std::string rows; ///< numbers and texts
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
            std::string const text = " \tmail " + std::to_string(number);
            AddHeaderRow(text.c_str(), kRowWidth, kOnServer, number, ABW_treeMessageHeaders, lastHeaderItem);
        }
        PtTreeItem_t *const second = BrotherOf(PtTreeRootItem(ABW_treeMessageHeaders));
        PtGenTreeSelect(ABW_treeMessageHeaders, &second->gen);
        OnDeleteMessage(nullptr, nullptr, nullptr);
        OnDeleteMessage(nullptr, nullptr, nullptr); // one is on its way
    });
    EXPECT_TRUE(screen.PaintUntil([] { return RunningOperations() == 0; }));
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(60));
    EXPECT_EQ(LockValue(*profile), 1);
    EXPECT_LT(profile->serverSocket.load(), 1) << "each Delete is a session of its own";
    After after;
    after.status = screen.Status();
    for (Screen::Row const &row : screen.Rows())
        after.rows += std::to_string(row.data.number) + row.text;
    EXPECT_EQ(profile->serverMessageCount, static_cast<int>(screen.Rows().size()));
    after.left = server.Messages().size();
    return after;
}

TEST(Delete, EndsWellWhateverTheServerDoes) {
    EXPECT_EQ(Delete({}).left, 2u);
    int const descriptors = CountDescriptors();
    for (Misbehaviour const &way : Misbehaviours())
        for (int step = kGreeting; step <= kQuit; step++) {
            SCOPED_TRACE(std::string(way.name) + ", reply " + std::to_string(step));
            Fault fault = way.fault;
            fault.reply = step;
            After const after = Delete(fault);
            EXPECT_EQ(CountDescriptors(), descriptors);
            bool const gone = after.rows == "1 \tmail 12 \tmail 3";
            bool const loses = way.effect == Misbehaviour::kLosing;
            bool const refuses = way.effect == Misbehaviour::kRefusing && step != kGreeting;
            EXPECT_TRUE(gone || after.rows == "1 \tmail 12 \tmail 23 \tmail 3") << after.rows;
            EXPECT_NE(gone, !after.status.empty()) << "a row that stays says why: " << after.status;
            EXPECT_FALSE(gone && (loses || refuses));
            EXPECT_TRUE(gone || way.effect != Misbehaviour::kHarmless);
            if (step <= kDele && loses) {
                EXPECT_EQ(after.left, 3u);
            }
            if (step == kQuit) {
                // The server had deleted it, and only its word for that was lost.
                EXPECT_EQ(after.left, 2u);
                EXPECT_TRUE(!loses ||
                            after.status == "The connection was lost; the message may still be on the server")
                    << after.status;
            }
        }
}

} // namespace
