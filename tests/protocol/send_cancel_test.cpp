// Cancelling a send at each of its waits. Run under thread and address sanitizers as well.

#include "base/fd.h"
#include "base/text.h"
#include "compose/send/send_window.h"
#include "fixtures/process.h"
#include "names/widgets.h"
#include "protocol/send_fixture.h"
#include "widgets/open_profile.h"

#include <arpa/inet.h>
#include <array>
#include <filesystem>
#include <sys/socket.h>
#include <unistd.h>

namespace {

class CancelTest : public SendTest {
  protected:
    /// Presses Send, cancels once `reached` is true, and checks that nothing is left.
    void CancelWhen(std::function<bool()> const &reached, size_t copies = 0) {
        int const descriptors = CountDescriptors();
        PressSend();
        ASSERT_TRUE(screen.PaintUntil(reached));
        usleep(20'000); // on its way into the wait
        screen.RunCallback([&] { CancelSending(*state); });
        ASSERT_TRUE(WaitForEnd()) << "long before a silent server is given up";
        EXPECT_TRUE(screen.PaintUntil([&] { return CountDescriptors() <= descriptors + 1; })) << "the server's own";
        EXPECT_EQ(shownAlerts, Strings{});
        EXPECT_EQ(Outbox().size(), copies);
        EXPECT_FALSE(std::filesystem::exists(UnsentPath()));
        EXPECT_TRUE(Editable());
    }

    /// Writes a mail or an article, and the profile for it.
    void Write(bool news, std::vector<Script> const &scripts) {
        WriteProfile(false, "127.0.0.1:1"); // where an article's copy would be
        Serve(news, scripts);
        if (!state)
            Compose(news, news ? "test.general" : "bob@example.org");
    }

    bool HasReceived(std::string const &end) const { return server->Received().ends_with(end); }
};

TEST_F(CancelTest, AtEachAnswer) {
    for (bool const news : {true, false}) {
        for (Script const &before : BeforeEachAnswer(TakenDialogue(news))) {
            SCOPED_TRACE(before.size());
            Write(news, {before + Script{Stall()}});
            std::string const last = before.empty() ? "" : before.back().text + "\r\n";
            // After the final dot the server may have the message.
            bool const dot = !before.empty() && before.back().kind == Step::kUntil;
            CancelWhen([&] { return Progress() > 0 && HasReceived(last); }, dot && !news ? 1 : 0);
        }
        CloseWindow();
    }
    ASSERT_EQ(Outbox().size(), 1u);
    EXPECT_TRUE(Outbox()[0].ends_with("\n\ntext"));
}

TEST_F(CancelTest, WhileConnecting) {
    // A listener with as many connections waiting as it allows: the next attempt hangs.
    int port = 0;
    Fd const listener(ListenOn("127.0.0.1", port, 0));
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<uint16_t>(port));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    std::array<Fd, 4> waiting;
    for (Fd &each : waiting) {
        each = Fd(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
        connect(each.Get(), reinterpret_cast<sockaddr *>(&address), sizeof address);
    }
    WriteProfile(false, "127.0.0.1:" + std::to_string(port));
    Compose(false, "bob@example.org");
    CancelWhen([&] { return !OutboxRows().empty(); });
    EXPECT_EQ(screen.Status(), "");
}

TEST_F(CancelTest, WhileTheServerTakesNoMore) {
    Script const deaf{Pause(600'000)};
    for (bool const news : {false, true}) {
        Write(news, {UpTo(TakenDialogue(news), news ? "340 go on\r\n" : "354 go on\r\n") + deaf});
        AddPart("large", "unknown", std::string(30 << 20, 'A'));
        CancelWhen([&] { return HasReceived(news ? "POST\r\n" : "DATA\r\n"); });
        screen.RunCallback([&] {
            auto const *const part = static_cast<PartHeaders *>(PtTreeRootItem(state->attachmentList)->data);
            EXPECT_TRUE(part && part->bodyLength == 30 << 20) << "the attachment is there again";
        });
        CloseWindow();
    }
}

TEST_F(CancelTest, WhileANewsServerSaysGoodbye) {
    Script const mayNot = ReadDialogue(DialoguesFor(true), "a server that lets no one post").connections[0];
    Write(true, {mayNot + Script{Stall()}});
    PressSend();
    ASSERT_TRUE(screen.PaintUntil([&] { return HasReceived("QUIT\r\n"); }));
    screen.RunCallback([&] { CancelSending(*state); });
    ASSERT_TRUE(WaitForEnd());
    EXPECT_TRUE(Editable()) << "who cancels keeps the window, or closes it himself";
}

TEST_F(CancelTest, ASecondSendTakesTheFirstOnesPlace) {
    Script const taken = TakenDialogue(false);
    Write(false, {UpTo(taken, "DATA") + Script{Stall()}, taken});
    PressSend();
    ASSERT_TRUE(screen.PaintUntil([&] { return server->Received().find("DATA") != std::string::npos; }));
    PressSend();
    ASSERT_TRUE(WaitForEnd());
    EXPECT_EQ(server->Problems(), "");
    EXPECT_TRUE(IsClosed());
    EXPECT_EQ(Outbox().size(), 1u);
}

/// A check lists messages of the server in whatever folder is open, with numbers of their own.
TEST_F(CancelTest, InTheOpenOutboxOnlyTheCopysRowComesAndGoes) {
    Script const data = UpTo(TakenDialogue(false), "DATA");
    Write(false, {data + Script{Reset()}, data + Script{Stall()}});
    screen.AddProfile(*MakeProfile("home", "127.0.0.1:1", true), true);
    auto const rows = [&] {
        Strings texts;
        for (Screen::Row const &row : screen.Rows())
            texts.push_back(row.text.substr(0, 8) + std::to_string(row.data.origin));
        return texts;
    };
    screen.RunCallback([&] {
        CopyText(currentFolder, "Outbox");
        for (int const number : {1, 2})
            AddHeaderRow("server", 6, kOnServer, number, ABW_treeMessageHeaders, lastHeaderItem);
        AddHeaderRow("", 0, kStored, 2, ABW_treeMessageHeaders, lastHeaderItem); // seen while it is sent
    });
    ASSERT_TRUE(SendNow());
    shownAlerts.clear();
    EXPECT_EQ(rows(), (Strings{"server1", "server1", "2", " \t Hello2"}));
    CancelWhen([&] { return OutboxRows().size() == 2 && HasReceived("DATA\r\n"); }, 1);
    EXPECT_EQ(rows(), (Strings{"server1", "server1", " \t Hello2"}));
}

TEST_F(CancelTest, AtAnyMoment) {
    for (int moment = 0; moment < 60; moment++) {
        SCOPED_TRACE(moment);
        Write(false, {UpTo(TakenDialogue(false), "\r\n.\r\n") + Script{Pause(2), Send("250 ok\r\n")}});
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
        CloseWindow();
        server.reset();
    }
}

} // namespace
