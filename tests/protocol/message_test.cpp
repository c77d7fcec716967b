// Downloading one message.

#include "app/named_calls.h"

#include "base/log.h"
#include "fixtures/scripted_server.h"
#include "net/connection.h"
#include "net/line_io.h"
#include "protocol/screen.h"

#include <cstdlib>
#include <cstring>
#include <functional>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

class Download : public testing::Test {
  protected:
    /// Connects to a server that plays `steps`, without a login.
    void Connect(Script const &steps) {
        profile = AccountRef<MailProfile>();
        server = std::make_unique<ScriptedServer>(steps);
        profile = MakeProfile("p", server->Address(), true);
        profile->serverSocket = OpenMailConnection(*profile, nullptr, kPop3);
    }

    /// What `get` gives for the bytes that follow `command`; the next command must get its own reply.
    std::string Ask(char const *command, std::string const &bytes, size_t piece, std::function<char *()> const &get) {
        Connect({Expect(command), Send(bytes, piece, 0), Expect("NOOP"), Send("+OK in step\r\n")});
        std::string const text = TakeText(get());
        char reply[100] = "";
        WriteServerLine(profile->serverSocket, "NOOP");
        ReadServerLine(profile->serverSocket, reply, sizeof reply);
        EXPECT_STREQ(reply, "+OK in step") << bytes.substr(0, 100);
        CloseConnection(*profile);
        EXPECT_EQ(server->Problems(), "");
        EXPECT_EQ(LockValue(*profile), 1);
        return text;
    }
    std::string Fetch(std::string const &bytes, size_t piece = 0) {
        return Ask("RETR 7", bytes, piece, [this] {
            char *const text = getMessage(7, *profile, 0);
            EXPECT_TRUE(!text || std::string(text + strlen(text), 20) == std::string(20, '\0')) << "no spare bytes";
            return text;
        });
    }

    Screen screen;
    std::unique_ptr<ScriptedServer> server;
    AccountRef<MailProfile> profile;
};

TEST_F(Download, SizedTransfers) {
    struct {
        char const *what;
        std::string bytes, text;
    } const cases[] = {
        {"right size", "+OK 14 octets\r\nSubject: a\r\n\r\n.\r\n", "Subject: a\r\n\r\n"},
        {"no size word, any case", "+ok14\r\nSubject: a\r\n\r\n.\r\n", "Subject: a\r\n\r\n"},
        {"a last line without an end", "+OK 3 octets\r\nabc\r\n.\r\n", "abc"},
        {"empty message", "+OK 0 octets\r\n.\r\n", ""},
        {"empty line only", "+OK 2 octets\r\n\r\n.\r\n", "\r\n"},
        {"doubled dots, size before doubling", "+OK 11 octets\r\n..a\r\n...\r\nbc\r\n.\r\n", ".a\r\n..\r\nbc\r\n"},
        {"two doubled dots on short lines", "+OK 8 octets\r\n..\r\n..\r\nab\r\n.\r\n", ".\r\n.\r\nab\r\n"},
        {"a dot and no last line end", "+OK 2 octets\r\n..a\r\n.\r\n", ".a\r\n"},
        {"a lone dot at the end", "+OK 6 octets\r\na\r\n..\r\n.\r\n", "a\r\n.\r\n"},
        {"a lone dot, doubled and counted", "+OK 7 octets\r\na\r\n..\r\n.\r\n", "a\r\n.\r\n"},
        {"size too small", "+OK 4 octets\r\nSubject: a\r\n\r\nbody\r\n.\r\n", "Subject: a\r\n\r\nbody\r\n"},
        {"a number that is no size", "+OK 1st message\r\nSubject: a\r\n..\r\n.\r\n", "Subject: a\r\n.\r\n"},
        {"a size nobody believes", "+OK 99999999999\r\nabc\r\n..d\r\n.\r\n", "abc\r\n.d\r\n"},
        {"undoubled dots in a message of right size stay", "+OK 8 octets\r\n.a\r\n.b\r\n.\r\n", ".a\r\n.b\r\n"},
        {"8-bit and no CR", "+OK 6 octets\r\n\xe4\xf6\n\xfc\r\n.\r\n", "\xe4\xf6\n\xfc\r\n"},
    };
    for (auto const &one : cases)
        for (size_t piece : {0, 1, 3})
            EXPECT_EQ(Fetch(one.bytes, piece), one.text) << one.what << ", pieces of " << piece;
}

TEST_F(Download, SizeTooLarge) {
    // Nothing says that the message is over but that nothing more comes after its end mark.
    EXPECT_EQ(Fetch("+OK 5000 octets\r\nabc\r\n..d\r\n.\r\n"), "abc\r\n.d\r\n");
    EXPECT_EQ(Fetch("+OK 8 octets\r\nabc\r\n.\r\n"), "abc\r\n"); // the mark counted
}

TEST_F(Download, LeavesNothingOfALongMessageBehind) {
    std::string plain, doubled;
    for (int i = 0; i < 60000; i++) {
        plain += (i % 3 ? "" : ".") + std::to_string(i) + "\r\n";
        doubled += (i % 3 ? "" : "..") + std::to_string(i) + "\r\n";
    }
    std::string const reply = "+OK " + std::to_string(plain.size()) + " octets\r\n" + doubled + ".\r\n";
    EXPECT_EQ(Fetch(reply), plain);
    EXPECT_EQ(Fetch(reply, 1460), plain);
}

TEST_F(Download, TheLoggedWayGivesTheSame) {
    VerboseLevel = 2;
    std::string const message = "Subject: a\r\n\r\n" + std::string(30000, 'x') + "\r\n";
    EXPECT_EQ(Fetch("+OK " + std::to_string(message.size()) + " octets\r\n" + message + ".\r\n"), message);
    EXPECT_EQ(Fetch("+OK message follows\r\nab\r\n.\r\n"), "ab\r\n.\r\n");
    VerboseLevel = 0;
}

TEST_F(Download, UnsizedTransfers) {
    std::string const spool = "/tmp/Corvanta-" + std::to_string(getpid());
    ASSERT_EQ(symlink("/nowhere/else", spool.c_str()), 0); // somebody else's trap is not followed
    EXPECT_EQ(Fetch("+OK message follows\r\nSubject: a\r\n\r\nb\r\n.\r\n"), "Subject: a\r\n\r\nb\r\n.\r\n");
    EXPECT_EQ(Fetch("+OK\r\n..a\r\n...\r\n.\r\n", 1), ".a\r\n..\r\n.\r\n");
    EXPECT_EQ(Fetch("+OK\r\n.\r\n"), ".\r\n");
    struct stat status;
    EXPECT_NE(lstat(spool.c_str(), &status), 0);
    Connect({Expect("RETR 7"), Send("+OK\r\nSubject: a\r\n")});
    EXPECT_EQ(getMessage(7, *profile, 0), nullptr);
    EXPECT_EQ(profile->serverSocket, -1);
    EXPECT_EQ(screen.Status(), "Lost the connection to the mail server");
    EXPECT_NE(lstat(spool.c_str(), &status), 0);
}

TEST_F(Download, RefusedMessages) {
    EXPECT_EQ(Fetch("-ERR There's no message 7.\r\n"), "(none)");
    EXPECT_EQ(Fetch("-ERR no\r\nand why: %s%n\r\n"), "(none)"); // what is there already is drained
    EXPECT_EQ(Fetch("\r\n"), "(none)");
}

TEST_F(Download, ConnectsWhenThereNeverWasAConnection) {
    Script const login{Send("+OK\r\n"), Expect("USER alice"), Send("+OK\r\n"), Expect("PASS secret")};
    ScriptedServer both({login + Script{Send("+OK\r\n"), Expect("RETR 3"), Send("+OK 3 octets\r\nabc\r\n.\r\n")},
                         login + Script{Send("-ERR no\r\n")}});
    profile = MakeProfile("p", both.Address(), true);
    char const *const texts[] = {"abc", "(none)"};
    for (char const *text : texts) {
        CloseConnection(*profile, 0);
        EXPECT_EQ(TakeText(getMessage(3, *profile, 0)), text);
        EXPECT_EQ(LockValue(*profile), 1);
    }
    EXPECT_EQ(both.Problems(), "");
    CloseConnection(*profile);
    EXPECT_EQ(getMessage(3, *profile, 0), nullptr); // -1: there was one, and nobody asked for another
    EXPECT_EQ(LockValue(*profile), 1);
}

TEST_F(Download, HeadersWithTop) {
    struct {
        std::string bytes, text;
    } const cases[] = {
        {"+OK\r\nSubject: a\r\n\r\n.\r\n", "Subject: a\r\n\r\n.\r\n"},
        {"+OK 16 octets\r\nSubject: a\r\n\r\n.\r\n", "Subject: a\r\n\r\n.\r"},
        {"+OK 17 octets\r\nSubject: a\r\n\r\n.\r\n", "Subject: a\r\n\r\n.\r\n"},
        {"+OK 5 octets\r\nSubject: a\r\n\r\n.\r\n", "Subje"},
        {"+OK top of message\r\n" + std::string(9990, 'x') + "\r\n" + std::string(50, 'y') + "\r\n.\r\n",
         std::string(9990, 'x') + "\r\n" + std::string(8, 'y')},
        {"+OK\r\n.\r\n", ".\r\n"},
    };
    auto const top = [this] { return TopHeader(*profile, 2); };
    for (auto const &one : cases)
        for (size_t piece : {0, 1, 4})
            if (!piece || one.bytes.size() < 1000) {
                EXPECT_EQ(Ask("TOP 2 0", one.bytes, piece, top), one.text);
            }
    EXPECT_EQ(Ask("TOP 2 0", "-ERR no TOP\r\nhere\r\n", 0, top), "(none)");
    Connect({Expect("TOP 2 0"), Send("+OK\r\n"), Flood("Subject: a\r\n", 200 << 20)});
    EXPECT_EQ(TopHeader(*profile, 2), nullptr); // given up
    EXPECT_EQ(profile->serverSocket, -1);
}

} // namespace
