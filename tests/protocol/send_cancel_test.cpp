// Cancelling a send at each of its waits. Run under thread and address sanitizers as well.

#include "base/paths.h"
#include "compose/send_window.h"
#include "fixtures/process.h"
#include "protocol/send_fixture.h"

#include <arpa/inet.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

using Strings = std::vector<std::string>;
using SteadyClock = std::chrono::steady_clock;

/// A listener that takes no more connections: the next attempt hangs.
class FullListener {
  public:
    FullListener() {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t size = sizeof address;
        auto *const plain = reinterpret_cast<sockaddr *>(&address);
        if (bind(listener_, plain, size) != 0 || listen(listener_, 0) != 0 ||
            getsockname(listener_, plain, &size) != 0)
            perror("listen");
        port_ = ntohs(address.sin_port);
        for (int &waiting : waiting_) {
            waiting = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
            connect(waiting, plain, size);
        }
    }
    ~FullListener() {
        for (int const waiting : waiting_)
            close(waiting);
        close(listener_);
    }
    std::string Address() const { return "127.0.0.1:" + std::to_string(port_); }

  private:
    int listener_ = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    int port_ = 0;
    int waiting_[4];
};

class CancelTest : public SendTest {
  protected:
    /// Presses Send, cancels once `reached` is true, and checks that nothing is left.
    void CancelWhen(std::function<bool()> const &reached, size_t copies) {
        int const descriptors = CountDescriptors();
        PressSend();
        ASSERT_TRUE(screen.PaintUntil(reached));
        usleep(20'000); // on its way into the wait
        auto const begin = SteadyClock::now();
        screen.RunCallback([&] { CancelSending(*state); });
        ASSERT_TRUE(WaitForEnd());
        EXPECT_LT(SteadyClock::now() - begin, std::chrono::seconds(2));
        EXPECT_EQ(state->sendSocket, -1);
        EXPECT_TRUE(screen.PaintUntil([&] { return CountDescriptors() <= descriptors + 1; })) << "the server's own";
        EXPECT_EQ(shownAlerts, Strings{});
        EXPECT_EQ(Outbox().size(), copies);
        EXPECT_TRUE(Editable());
    }
};

TEST_F(CancelTest, AtEachAnswer) {
    Script const hello = SmtpHello({"bob@example.org"});
    // After 0, 1, ... of the client's lines the server says nothing more.
    int const expected[] = {0, 1, 2, 3, 4};
    for (int const lines : expected) {
        SCOPED_TRACE(lines);
        Script script;
        int seen = 0;
        for (Step const &step : hello) {
            if (seen == lines && step.kind == Step::kSend)
                break;
            script.push_back(step);
            seen += step.kind == Step::kExpect ? 1 : 0;
        }
        Serve({script + Script{Stall()}});
        if (!state)
            Compose("bob@example.org", "text");
        CancelWhen(
            [&] {
                std::string const all = server->Received();
                return std::count(all.begin(), all.end(), '\n') >= lines && state->sendSocket > 0;
            },
            0);
    }
}

TEST_F(CancelTest, AtEachAnswerOfANewsServer) {
    WriteProfile("127.0.0.1:1"); // whose Outbox stays empty
    std::vector<Script> const waits{
        {},
        {Send("200 ready\r\n"), Expect("POST")},
        {Send("480 who\r\n"), Expect("AUTHINFO USER ann")},
        {Send("381 password\r\n"), Expect("AUTHINFO PASS secret")},
        {Send("281 welcome\r\n"), Expect("POST")},
        {Send("340 go on\r\n"), Until("\r\n.\r\n"), Expect("")},
    };
    Script before;
    for (Script const &wait : waits) {
        SCOPED_TRACE(before.size());
        before = before + wait;
        std::string const last = before.empty() ? "" : before.back().text + "\r\n";
        ServeNews({before + Script{Stall()}});
        if (!state)
            ComposeArticle("test.general", "text");
        CancelWhen([&] { return state->sendSocket > 0 && server->Received().ends_with(last); }, 0);
    }
    EXPECT_EQ(FileText(ConfigRoot() + "news/home/unsent"), "");
}

TEST_F(CancelTest, WhileANewsServerTakesNoMoreOrSaysGoodbye) {
    WriteProfile("127.0.0.1:1");
    ServeNews({{Send("200 ready\r\n"), Expect("POST"), Send("340 go on\r\n"), Pause(1500)},
               {Send("200 ready\r\n"), Expect("POST"), Send("440 no\r\n"), Expect("QUIT"), Stall()}});
    ComposeArticle("test.general", "text");
    AddPart("large", "unknown", std::string(30 << 20, 'A'));
    CancelWhen([&] { return server->Received().ends_with("POST\r\n"); }, 0);
    PressSend();
    ASSERT_TRUE(screen.PaintUntil([&] { return server->Received().ends_with("QUIT\r\n"); }));
    screen.RunCallback([&] { CancelSending(*state); });
    ASSERT_TRUE(WaitForEnd());
    EXPECT_TRUE(Editable()) << "who cancels keeps the window, or closes it himself";
}

TEST_F(CancelTest, WhileConnecting) {
    FullListener const full;
    WriteProfile(full.Address());
    Compose("bob@example.org", "text");
    CancelWhen([&] { return !OutboxRows().empty(); }, 0);
    EXPECT_EQ(screen.Status(), "");
}

TEST_F(CancelTest, WhileTheServerTakesNoMore) {
    Serve({SmtpHello({"bob@example.org"}) + Script{Pause(1500)}});
    Compose("bob@example.org", "text");
    AddPart("large", "unknown", std::string(30 << 20, 'A'));
    CancelWhen([&] { return server->Received().ends_with("DATA\r\n"); }, 0);
    // The attachment is there again.
    screen.RunCallback([&] {
        auto const *const part = static_cast<PartHeaders *>(PtTreeRootItem(state->attachmentList)->data);
        ASSERT_NE(part, nullptr);
        EXPECT_EQ(part->bodyLength, 30 << 20);
    });
}

TEST_F(CancelTest, AfterTheFinalDotTheCopyStays) {
    Serve({SmtpHello({"bob@example.org"}) + Script{Until("\r\n.\r\n"), Stall()}});
    Compose("bob@example.org", "text");
    CancelWhen([&] { return server->Received().ends_with("\r\n.\r\n\r\n"); }, 1);
    EXPECT_TRUE(Outbox()[0].ends_with("\n\ntext"));
}

TEST_F(CancelTest, WithTheWindowGone) {
    Serve({SmtpHello({"bob@example.org"}) + Script{Pause(1500)}});
    Compose("bob@example.org", "text");
    AddPart("large", "unknown", std::string(30 << 20, 'A'));
    PressSend();
    ASSERT_TRUE(screen.PaintUntil([&] { return server->Received().ends_with("DATA\r\n"); }));
    screen.RunCallback([&] {
        CancelSending(*state);
        PtDestroyWidget(state->window);
    });
    ASSERT_TRUE(WaitForEnd());
    EXPECT_EQ(Outbox(), Strings{});
    EXPECT_EQ(shownAlerts, Strings{});
}

TEST_F(CancelTest, ASecondSendTakesTheFirstOnesPlace) {
    Script first = SmtpHello({"bob@example.org"});
    first.back() = Stall(); // instead of taking the text
    Serve({first, SmtpHello({"bob@example.org"}) + SmtpTakes()});
    Compose("bob@example.org", "text");
    PressSend();
    ASSERT_TRUE(screen.PaintUntil([&] { return server->Received().find("DATA") != std::string::npos; }));
    PressSend();
    ASSERT_TRUE(WaitForEnd());
    EXPECT_EQ(server->Problems(), "");
    EXPECT_TRUE(WindowGone());
    EXPECT_EQ(Outbox().size(), 1u);
}

TEST_F(CancelTest, AtAnyMoment) {
    for (int moment = 0; moment < 60; moment++) {
        SCOPED_TRACE(moment);
        Serve({SmtpHello({"bob@example.org"}) + Script{Until("\r\n.\r\n"), Pause(2), Send("250 ok\r\n")}});
        Compose("bob@example.org", "text");
        AddPart("a", "unknown", std::string(400'000, 'A'));
        size_t const before = Outbox().size();
        PressSend();
        usleep(static_cast<useconds_t>(moment * 100));
        screen.RunCallback([&] {
            CancelSending(*state);
            if (state->window)
                PtDestroyWidget(state->window);
        });
        ASSERT_TRUE(WaitForEnd());
        size_t const copies = Outbox().size() - before;
        bool const dot = server->Received().find("\r\n.\r\n") != std::string::npos;
        EXPECT_EQ(copies, dot ? 1u : 0u);
        EXPECT_EQ(shownAlerts, Strings{});
        screen.RunCallback([&] { ReleaseCompose(std::exchange(state, nullptr)); });
        server.reset();
    }
}

} // namespace
