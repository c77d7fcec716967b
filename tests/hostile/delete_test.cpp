// A POP3 server that misbehaves in each way at each step of a deletion: it ends, says what is true as far as it can
// be known, and the connection and the lock are let go.

#include "fixtures/process.h"
#include "hostile/mailbox_server.h"
#include "pop/mailbox.h"
#include "protocol/mail_fixture.h"

#include <chrono>
#include <gtest/gtest.h>

namespace {

std::vector<std::string> const kMailbox = {"Subject: one\r\n\r\nText\r\n", "Subject: two\r\n\r\nText\r\n",
                                           "Subject: three\r\n\r\nText\r\n"};

// The replies of the session.
enum { kGreeting, kUser, kPass, kDele, kQuit };

/// What a deletion of the second of three messages has left.
struct After {
    Outcome outcome;
    size_t left; ///< messages on the server
};

After Delete(Fault const &fault) {
    MailboxServer server(kMailbox, fault);
    AccountRef<MailProfile> const profile = MakeProfile("home", server.Address(), true);
    profile->serverMessageCount = 3;
    auto const start = std::chrono::steady_clock::now();
    After after{DeleteOnServer(*profile, 2), 0};
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(60));
    EXPECT_LT(profile->serverSocket.load(), 1) << "each deletion is a session of its own";
    EXPECT_EQ(profile->serverMessageCount, after.outcome ? 2 : 3);
    EXPECT_NE(static_cast<bool>(after.outcome), !after.outcome.text.empty()) << "a row that stays says why";
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
            auto const [outcome, left] = Delete(fault);
            EXPECT_EQ(CountDescriptors(), descriptors);
            bool const loses = way.effect == Misbehaviour::kLosing;
            bool const refuses = way.effect == Misbehaviour::kRefusing && step != kGreeting;
            EXPECT_FALSE(outcome && (loses || refuses));
            EXPECT_TRUE(outcome || way.effect != Misbehaviour::kHarmless) << outcome.text;
            EXPECT_FALSE(outcome && left != 2u && way.effect != Misbehaviour::kOdd) << "a row goes with its message";
            if (step <= kDele && loses) {
                EXPECT_EQ(left, 3u);
            }
            if (step == kQuit) {
                EXPECT_EQ(left, 2u); // the server had deleted it, and only its word for that was lost
            }
        }
}

} // namespace
