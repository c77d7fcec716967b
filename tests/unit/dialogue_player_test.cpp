// The player of dialogues: what is sent as written, and what makes it complain.

#include "fixtures/dialogue.h"

#include "base/fd.h"

#include <arpa/inet.h>
#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>
#include <sys/socket.h>

namespace {

/// A client that has said `text`.
Fd Client(ScriptedServer const &server, std::string const &text) {
    Fd client(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<uint16_t>(server.Port()));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    EXPECT_EQ(connect(client.Get(), reinterpret_cast<sockaddr *>(&address), sizeof address), 0);
    EXPECT_EQ(send(client.Get(), text.data(), text.size(), 0), static_cast<ssize_t>(text.size()));
    return client;
}

/// What comes until the end, or `most` bytes of it.
std::string Answer(Fd const &client, size_t most = SIZE_MAX) {
    std::string all;
    char bytes[4096];
    for (ssize_t got; all.size() < most && (got = recv(client.Get(), bytes, sizeof bytes, 0)) > 0;)
        all.append(bytes, static_cast<size_t>(got));
    return all;
}

TEST(DialoguePlayer, IsPlayedAsItIsWritten) {
    Dialogue const right = ReadDialogue("player", "right", {{"GREETING", "{ready}"}});
    EXPECT_EQ(right["kept"], std::string("by this case:A\0A\0A\0", 19));
    ScriptedServer server(right);
    server.Go("test");
    EXPECT_EQ(Answer(Client(server, "USER al ice\r\nPASS x\r\nany\r\ntext\n\n")),
              "+OK {ready}\r\n+OK yes\r\n. \\\r\n. \\\r\n" + std::string(300000, 'x'));
    EXPECT_EQ(Answer(Client(server, ""), 100'000).substr(0, 18), "endless\r\nendless\r\n");
    EXPECT_EQ(Answer(Client(server, "")), "-ERR\r\n");
    EXPECT_EQ(server.Problems(), "");
}

TEST(DialoguePlayer, ComplainsWithThePlace) {
    EXPECT_EQ(ReadDialogue("player", "wrong")["kept"], "said for all");
    ScriptedServer server(ReadDialogue("player", "wrong"));
    Answer(Client(server, "QUIT\n\r\n"));
    EXPECT_EQ(server.Problems(), "dialogues/player.txt:28 expected: QUIT\n     got: QUIT\n\n");
    ScriptedServer left(ReadDialogue("player", "wrong"));
    Client(left, "QUIT");
    EXPECT_EQ(left.Problems(), "dialogues/player.txt:28 the client closed instead of: QUIT\n");
    EXPECT_NONFATAL_FAILURE(ReadDialogue("player", "no such"), "no dialogue no such");
    EXPECT_NONFATAL_FAILURE(ReadDialogues("no such"), "cannot be read");
}

} // namespace
