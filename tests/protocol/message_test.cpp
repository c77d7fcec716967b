// Fetching one message or header: what comes of each transfer, and that nothing of it is taken for the next reply.

#include "base/log.h"
#include "fixtures/dialogue.h"
#include "net/connection.h"
#include "pop/dialogue.h"
#include "pop/fetch.h"
#include "protocol/mail_fixture.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

std::unique_ptr<Stream> StreamTo(ScriptedServer const &server) {
    return std::move(OpenStream(server.Address().c_str(), kPop3).stream);
}

/// Plays a case, all that is sent in pieces of `piece` bytes.
void Play(Dialogue const &one, size_t piece) {
    SCOPED_TRACE(one.name + ", pieces of " + std::to_string(piece));
    Script script = one.connections[0];
    for (Step &step : script) {
        step.piece = piece;
        step.milliseconds = step.kind == Step::kPause ? step.milliseconds : 0;
    }
    bool const header = script[0].text.starts_with("TOP");
    ScriptedServer server(script + Script{Expect("NOOP"), Send("+OK in step\r\n")});
    auto const stream = StreamTo(server);
    auto const start = std::chrono::steady_clock::now();
    FetchedMessage got;
    if (header) {
        FetchedHeader fetched = FetchHeader(*stream, 7);
        got.outcome = fetched.outcome;
        got.text = fetched.text;
    } else {
        got = FetchMessage(*stream, 7);
    }
    if (one.Has("soon")) {
        EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(1500));
    }
    EXPECT_EQ(Said(got.outcome), one.Has("refused") ? "refused " + one["refused"] : "done");
    EXPECT_EQ(got.text, one["text"]);
    EXPECT_EQ(got.whole, !one.Has("left"));
    std::string reply;
    EXPECT_EQ(PopAsk(*stream, "NOOP", reply), PopReply::kOk);
    EXPECT_EQ(reply, "+OK in step");
    EXPECT_EQ(server.Problems(), "");
}

TEST(Fetch, EachTransfer) {
    for (Dialogue const &one : ReadDialogues("pop/fetch"))
        for (size_t piece : {0, 1, 3})
            if (piece == 0 || !one.Has("once"))
                Play(one, piece);
}

TEST(Fetch, TheLoggedWayGivesTheSame) {
    VerboseLevel = 2;
    Play(ReadDialogue("pop/fetch", "a long message"), 0);
    Play(ReadDialogue("pop/fetch", "no size"), 3);
    VerboseLevel = 0;
}

TEST(Fetch, SpoolIsNoTrapAndLeavesNothing) {
    std::string const spool = "/tmp/Corvanta-" + std::to_string(getpid());
    struct stat status;
    ASSERT_EQ(symlink("/nowhere/else", spool.c_str()), 0); // somebody else's trap is not followed
    Play(ReadDialogue("pop/fetch", "no size"), 0);
    EXPECT_NE(lstat(spool.c_str(), &status), 0);
    ASSERT_EQ(mkdir(spool.c_str(), 0700), 0); // another name is taken
    Play(ReadDialogue("pop/fetch", "no size"), 0);
    EXPECT_EQ(rmdir(spool.c_str()), 0);
}

TEST(Fetch, LostConnections) {
    Script const without_end[] = {{Expect("RETR 7"), Send("+OK\r\nSubject: a\r\n")},
                                  {Expect("RETR 7"), Send("+OK 100\r\nSubject: a\r\n")},
                                  {Expect("RETR 7"), Send("+OK"), Reset()}};
    for (Script const &script : without_end) {
        ScriptedServer server(script);
        EXPECT_EQ(Said(FetchMessage(*StreamTo(server), 7).outcome), std::string("lost ") + kLostMailServer);
    }
    ScriptedServer server(Script{Expect("TOP 7 0"), Send("+OK\r\n"), Flood("Subject: a\r\n", 200 << 20)});
    EXPECT_EQ(Said(FetchHeader(*StreamTo(server), 7).outcome), std::string("lost ") + kLostMailServer);
}

} // namespace
