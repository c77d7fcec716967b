// Receiving with identifiers: whatever ends a dialogue wherever, each message comes exactly once.

#include "hostile/driven_store.h"
#include "hostile/mailbox_server.h"
#include "pop/standard/receive.h"
#include "state/uidl_log.h"

#include <cstdlib>
#include <set>
#include <unistd.h>

namespace {

struct Sink : ReceiveSink {
    void Progress(ReceiveProgress const &progress) override { last = progress; }
    void Stored(int32_t, std::string_view) override { stored++; }
    ReceiveProgress last{};
    int stored = 0;
};

std::vector<std::string> const kMail = {"Subject: one\r\n\r\n..a dot\r\n", "Subject: two\r\n\r\n",
                                        "Subject: one\r\n\r\n..a dot\r\n", // the same, and another message
                                        "Subject: four\r\n\r\n" + std::string(1000, 'x') + "\r\n"};

/// In memory, where a sync costs nothing.
class Receive : public testing::Test {
  protected:
    void SetUp() override {
        setenv("XDG_STATE_HOME", scratch.Path().c_str(), 1);
        request.inbox = scratch.Path() + "Inbox/";
        CreateFolder(request.inbox.c_str());
        AppendMessage(request.inbox.c_str(), "Subject: earlier\r\n\r\n");
    }

    ReceiveResult Check(MailboxServer const &server) {
        request.server = server.Address();
        return ReceiveMail(request, sink, {});
    }

    std::multiset<std::string> Texts() const {
        std::multiset<std::string> texts;
        for (auto const &[number, row] : StoredRows(request.inbox))
            texts.insert(ReadFile(request.inbox + std::to_string(number)));
        return texts;
    }

    static std::multiset<std::string> Wanted() {
        std::multiset<std::string> texts = {"Subject: earlier\r\n\r\n"};
        for (std::string message : kMail) {
            if (size_t const dots = message.find(".."); dots != std::string::npos)
                message.erase(dots, 1);
            texts.insert(message);
        }
        return texts;
    }

    int const inMemory = access("/dev/shm", W_OK) == 0 ? setenv("TMPDIR", "/dev/shm", 1) : 0;
    Scratch scratch;
    Sink sink;
    ReceiveRequest request{.profile = "home", .inbox = "", .server = "", .who = {"alice", "secret"}};
};

TEST_F(Receive, CutAtEveryByteEachMessageComesOnce) {
    size_t total;
    {
        MailboxServer whole(kMail, {}, true);
        ReceiveResult const result = Check(whole);
        EXPECT_TRUE(result.outcome) << result.outcome.text;
        EXPECT_EQ(result.fetched, 4);
        EXPECT_EQ(sink.last.done, 4);
        EXPECT_EQ(Texts(), Wanted());
        total = whole.Sent();
    }
    ASSERT_GT(total, 1000u);
    for (size_t cut = 0; cut<total; cut += cut> 700 && cut < 3000 ? 97 : 1)
        for (bool const leave : {true, false}) {
            SCOPED_TRACE(std::to_string(cut) + (leave ? " leave" : " remove"));
            TearDown();
            std::filesystem::remove_all(scratch.Path() + "corvanta");
            std::filesystem::remove_all(request.inbox);
            SetUp();
            request.leaveOnServer = leave;
            MailboxServer server(kMail, {}, true, cut);
            EXPECT_FALSE(Check(server).outcome);
            ReceiveResult const again = Check(server);
            EXPECT_TRUE(again.outcome) << again.outcome.text;
            EXPECT_EQ(Texts(), Wanted());
            EXPECT_EQ(server.Messages().size(), leave ? kMail.size() : 0);
            if (HasFailure())
                return;
        }
}

TEST_F(Receive, AServerThatMisbehavesAtAnyReplyLosesAndDoublesNothing) {
    for (Misbehaviour const &kind : Misbehaviours())
        for (int reply = 0; reply < 14; reply += std::string_view(kind.name).starts_with("Endless") ? 7 : 1) {
            SCOPED_TRACE(std::string(kind.name) + " at reply " + std::to_string(reply));
            std::filesystem::remove_all(scratch.Path() + "corvanta");
            std::filesystem::remove_all(request.inbox);
            SetUp();
            request.leaveOnServer = false;
            Fault fault = kind.fault;
            fault.reply = reply;
            {
                MailboxServer server(kMail, fault, true);
                Check(server);
                std::multiset<std::string> const here = Texts();
                for (std::string const &left : server.Messages())
                    EXPECT_TRUE(std::count(kMail.begin(), kMail.end(), left)); // gone there only when it is here
                EXPECT_GE(here.size() + server.Messages().size(), 1 + kMail.size());
            }
            if (HasFailure())
                return;
        }
}

TEST_F(Receive, DeletedHereIsDeletedThere) {
    MailboxServer server(kMail, {}, true);
    EXPECT_EQ(Check(server).fetched, 4);
    NoteDeleted("home", "Inbox", 2);
    NoteMoved("home", "Inbox", 3, "Saved", 9);
    ReceiveResult const result = Check(server);
    EXPECT_EQ(result.fetched, 0);
    EXPECT_EQ(result.onServer, 3);
    EXPECT_EQ(server.Messages().front(), kMail[1]);
    request.removeAfterDays = 1; // nothing is that old
    EXPECT_EQ(Check(server).onServer, 3);
    request.leaveOnServer = false;
    EXPECT_EQ(Check(server).onServer, 0);
    EXPECT_EQ(server.Messages().size(), 0u);
}

TEST_F(Receive, AServerWithoutIdentifiersIsTakenByNumber) {
    MailboxServer server(kMail); // LIST and UIDL are refused
    EXPECT_FALSE(Check(server).outcome);
    EXPECT_EQ(server.Messages().size(), kMail.size());
}

} // namespace
