// Server addresses, connections, line I/O and the login.

#include "app/named_calls.h"
#include "net/address.h"
#include "net/line_io.h"

#include "fixtures/process.h"
#include "fixtures/scripted_server.h"
#include "net/session_lock.h"
#include "protocol/screen.h"
#include "widgets/toolkit.h"

#include <arpa/inet.h>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <fstream>
#include <gtest/gtest.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

using namespace std::string_literals;

/// Two connected sockets; bytes put into `peer` arrive at `here`.
struct Pair {
    explicit Pair(int type = SOCK_STREAM) {
        int ends[2];
        EXPECT_EQ(socketpair(AF_UNIX, type | SOCK_CLOEXEC, 0, ends), 0);
        here = ends[0];
        peer = ends[1];
    }
    ~Pair() {
        close(here);
        ClosePeer();
    }
    void Put(std::string const &bytes) const {
        EXPECT_EQ(send(peer, bytes.data(), bytes.size(), 0), static_cast<ssize_t>(bytes.size()));
    }
    void ClosePeer() {
        if (peer >= 0)
            close(peer);
        peer = -1;
    }
    /// What nobody has read yet.
    std::string Rest() const {
        char bytes[4096];
        ssize_t const got = recv(here, bytes, sizeof bytes, MSG_DONTWAIT);
        return {bytes, got > 0 ? static_cast<size_t>(got) : 0};
    }
    int here, peer;
};

TEST(ServerAddress, Parses) {
    struct {
        std::string text;
        int kind;
        std::string scheme, host;
        int32_t port;
        std::string path;
    } const cases[] = {
        {"mail.example.org", kPop3, "pop", "mail.example.org", 110, "/"},
        {"mail.example.org", kSmtp, "nntp", "mail.example.org", 25, "/"},
        {"mail.example.org", kNntp, "nntp", "mail.example.org", 119, "/"},
        {"mail.example.org:1110", kPop3, "pop", "mail.example.org", 1110, "/"},
        {"pops://h:995/in/box", kPop3, "pops", "h", 995, "/in/box"},
        {"http://proxy/", kNntp, "http", "proxy", 119, "/"},
        {"h/a:b", kPop3, "pop", "h", 110, "/a:b"},
        {"h:", kPop3, "pop", "h", 0, "/"},
        {"h:99999999999", kPop3, "pop", "h", INT32_MAX, "/"},
        {"", kPop3, "pop", "", 110, "/"},
        {"://", kPop3, "", "", 110, "/"},
        {std::string(2000, 's') + "://" + std::string(2000, 'h') + ":7/" + std::string(2000, 'p'), kPop3,
         std::string(1023, 's'), std::string(1023, 'h'), 7, "/" + std::string(1022, 'p')},
    };
    for (auto const &one : cases) {
        char scheme[kAddressWidth], host[kAddressWidth], path[kAddressWidth];
        int32_t port = -1;
        ParseServerAddress(one.text.c_str(), scheme, host, port, path, one.kind);
        EXPECT_EQ(one.scheme, scheme) << one.text;
        EXPECT_EQ(one.host, host) << one.text;
        EXPECT_EQ(one.port, port) << one.text;
        EXPECT_EQ(one.path, path) << one.text;
    }
}

TEST(ReadServerLine, EndsLinesAsItAlwaysDid) {
    struct {
        std::string bytes, text;
        int consumed;
        std::string rest;
    } const cases[] = {
        {"+OK hi\r\nnext\r\n", "+OK hi", 8, "next\r\n"},
        {"+OK hi\nnext", "+OK hi", 7, "next"},
        {"\r\nnext", "", 2, "next"},
        {"+OK M\xfcller\r\n", "+OK M", 6, "ller\r\n"},
        {"+OK\x80\r\n", "+OK", 4, "\r\n"},
        {"a\0b\n"s, "a", 2, "b\n"},
        {"a\tb\n", "a", 2, "b\n"},
        {"ab\x0b"
         "cd\nrest",
         "ab", 6, "rest"},       // takes its place without being stored
        {"\x14xy\n", "", 4, ""}, // 20 is not stored, 21 is
        {"\x15xy\n", "\x15xy", 4, ""},
        {"abc\rdef\r\n", "abc", 9, ""},
        {std::string(30, 'x') + "\r\nrest", std::string(19, 'x'), 32, "rest"},
    };
    for (auto const &one : cases) {
        Pair pair;
        pair.Put(one.bytes);
        char line[21];
        line[20] = '#';
        EXPECT_EQ(ReadServerLine(pair.here, line, 20), one.consumed) << one.bytes;
        EXPECT_EQ(line, one.text);
        EXPECT_EQ(line[20], '#');
        EXPECT_EQ(pair.Rest(), one.rest);
    }
}

TEST(ReadServerLine, FailsWithoutALineEnd) {
    char line[100];
    Pair pair;
    pair.Put("abc");
    auto const start = std::chrono::steady_clock::now();
    EXPECT_EQ(ReadServerLine(pair.here, line, sizeof line, 1), -1);
    EXPECT_STREQ(line, "abc");
    // A byte now and then does not prolong a short wait.
    std::jthread const dripping([&](std::stop_token const &over) {
        for (; !over.stop_requested(); std::this_thread::sleep_for(std::chrono::milliseconds(300)))
            pair.Put("d");
    });
    EXPECT_EQ(ReadServerLine(pair.here, line, sizeof line, 1), -1);
    auto const waited = std::chrono::steady_clock::now() - start;
    EXPECT_GE(waited, std::chrono::milliseconds(1900));
    EXPECT_LT(waited, std::chrono::seconds(10));
    EXPECT_EQ(ReadServerLine(0, line, sizeof line), -1);
    EXPECT_EQ(ReadServerLine(-1, line, sizeof line), -1);
}

TEST(ReadServerLine, LeavesTheLibraryToOthersWhileItWaits) {
    Screen screen;
    Pair pair;
    timeval const bound{10, 0};
    setsockopt(pair.here, SOL_SOCKET, SO_RCVTIMEO, &bound, sizeof bound);
    std::thread other([&] {
        SetStatus("somebody else");
        EXPECT_TRUE(screen.WaitUntilPainted("somebody else"));
        pair.Put("+OK\r\n");
    });
    screen.RunCallback([&] {
        char line[100];
        EXPECT_EQ(ReadServerLine(pair.here, line, sizeof line), 5);
        EXPECT_EQ(PtEnter(0), -EDEADLK); // the callback has the library again
    });
    other.join();
}

TEST(ReadServerLine, DropsAnEndlessLineAndStaysInStep) {
    ScriptedServer server(Script{Flood("x", 2 << 20), Send("\r\n+OK next\r\n"), Flood("y", 40 << 20), Send("\r\n")});
    AccountRef<MailProfile> const profile = MakeProfile("p", server.Address(), true);
    profile->serverSocket = OpenMailConnection(*profile, nullptr, kPop3);
    char line[100];
    EXPECT_GT(ReadServerLine(profile->serverSocket, line, sizeof line), 2 << 20);
    EXPECT_EQ(line, std::string(99, 'x'));
    EXPECT_EQ(ReadServerLine(profile->serverSocket, line, sizeof line), 10);
    EXPECT_STREQ(line, "+OK next");
    EXPECT_EQ(ReadServerLine(profile->serverSocket, line, sizeof line), -1); // given up
}

TEST(WriteServerLine, SendsOneLineInOnePiece) {
    Pair pair(SOCK_SEQPACKET);
    EXPECT_EQ(WriteServerLine(pair.peer, "NOOP"), 6);
    EXPECT_EQ(pair.Rest(), "NOOP\r\n");
    EXPECT_EQ(WriteServerLine(pair.peer, "USER eve\r\nDELE 1"), 10);
    EXPECT_EQ(pair.Rest(), "USER eve\r\n");
    EXPECT_EQ(WriteServerLine(pair.peer, ""), 2);
    EXPECT_EQ(WriteServerLine(pair.peer, "%s%n"), 6);
    pair.ClosePeer();
    EXPECT_EQ(WriteServerLine(pair.here, "QUIT"), -1); // and no SIGPIPE
    EXPECT_EQ(WriteServerLine(-1, "QUIT"), -1);
}

class Connecting : public testing::Test {
  protected:
    void TearDown() override { unsetenv("http_proxy"); }

    /// Connects and closes again; what went to standard error is in `errors`.
    bool Connects(std::string const &server, int kind = kPop3) {
        AccountRef<MailProfile> const profile = MakeProfile("p", server, true);
        testing::internal::CaptureStderr();
        int const socket = kind == kPop3 ? OpenMailConnection(*profile, nullptr, kPop3)
                                         : OpenServerConnection(server.c_str(), kind, 1);
        errors = testing::internal::GetCapturedStderr();
        if (socket < 0)
            return false;
        int noDelay = 0;
        socklen_t size = sizeof noDelay;
        getsockopt(socket, IPPROTO_TCP, TCP_NODELAY, &noDelay, &size);
        EXPECT_TRUE(noDelay);
        EXPECT_TRUE(fcntl(socket, F_GETFD) & FD_CLOEXEC);
        return close(socket) == 0;
    }

    Screen screen;
    std::string errors;
};

TEST_F(Connecting, TellsWhatFailed) {
    std::string const closed = ScriptedServer(Script{}).Address();
    std::string const unknown = "Host unknown, could not connect to mail server";
    struct {
        std::string server;
        int kind;
        std::string errors, status;
    } const cases[] = {
        {"255.255.255.255", kPop3, "Error: Unknown Host\n: ", unknown},
        {"127.0.0.1:0", kPop3, "Error: Unknown Host\n: ", unknown},
        {"127.0.0.1:65536", kPop3, "Error: Unknown Host\n: ", unknown},
        {":110", kPop3, "Error: Unknown Host\n: ", unknown},
        {"255.255.255.255:99", kSmtp, "Unknown host 255.255.255.255\n", unknown},
        {closed, kPop3, "pop: connect(): Connection refused\n", "Could not connect to mail server"},
        {closed, kSmtp, "pop: connect(): Connection refused\n", "Could not connect to mail server"},
        {closed, kNntp, "pop: connect(): Connection refused\n", "Could not connect to the news server"},
    };
    int const before = CountDescriptors();
    for (auto const &one : cases) {
        EXPECT_FALSE(Connects(one.server, one.kind)) << one.server;
        EXPECT_TRUE(errors.starts_with(one.errors)) << errors;
        EXPECT_EQ(screen.Status(), one.status) << one.server;
        EXPECT_EQ(CountDescriptors(), before);
    }
}

TEST_F(Connecting, TriesEveryAddress) {
    ScriptedServer server({Script{}, Script{}}, "127.0.0.2");
    std::ofstream(getenv("NSS_WRAPPER_HOSTS")) << "127.0.0.3 twofold\n127.0.0.2 twofold\n";
    std::string const address = "twofold:" + std::to_string(server.Port());
    EXPECT_TRUE(Connects(address)) << errors;
    EXPECT_EQ(errors, "");
    screen.RunCallback([&] { EXPECT_TRUE(Connects(address)) << errors; }); // looked up on a thread of its own
}

TEST_F(Connecting, GoesThroughTheProxyVariable) {
    ScriptedServer proxy({Script{}, Script{}, Script{}});
    setenv("http_proxy", ("http://" + proxy.Address() + "/").c_str(), 1);
    for (int kind : {kPop3, kSmtp, kNntp})
        EXPECT_TRUE(Connects("255.255.255.255", kind)) << errors;
    EXPECT_EQ(proxy.Problems(), "");
    EXPECT_EQ(proxy.Received(), "");
}

class Login : public testing::Test {
  protected:
    int Play(Script script, std::string const &user = "alice", std::string const &password = "secret") {
        if (script.size() > 1)
            script.insert(script.begin() + 1, Expect("USER " + user.substr(0, user.find_first_of("\r\n"))));
        server = std::make_unique<ScriptedServer>(script);
        profile = MakeProfile("p", server->Address(), true, user, password);
        profile->serverSocket = OpenMailConnection(*profile, nullptr, kPop3);
        return PopLogin(*profile);
    }
    Screen screen;
    std::unique_ptr<ScriptedServer> server;
    AccountRef<MailProfile> profile;
};

TEST_F(Login, TakesAGreetingHoweverItArrives) {
    for (auto const &[greeting, piece] : {std::pair<std::string, size_t>{"+OK Dovecot ready.\r\n", 1},
                                          {"+OK M\xc3\xbcller's\tserver \x80\x81\r\n", 3},
                                          {"\n", 0},
                                          {"-ERR go away " + std::string(12000, '.') + "\r\n", 0}}) {
        EXPECT_EQ(Play({Send(greeting, piece), Send("+ok \r\n"), Expect("PASS secret"), Send("+Ok\r\n")}), 1);
        EXPECT_EQ(server->Problems(), "");
        EXPECT_EQ(screen.Status(), "");
    }
    EXPECT_EQ(Play({Send(std::string(40 << 20, 'x') + "\r\n"), Send("+OK\r\n"), Skip(), Send("+OK\r\n")}), -1);
    EXPECT_EQ(screen.Status(), "Lost the connection to the mail server");
}

TEST_F(Login, SendsEachCommandOnceAndWhole) {
    EXPECT_EQ(Play({Send("+OK\r\n"), Send("+OK\r\n"), Expect("PASS two words"), Send("+OK\r\n")}, "al\r\nDELE 1",
                   "two words\nQUIT"),
              1);
    EXPECT_EQ(server->Problems(), "");
    ASSERT_EQ(server->Arrivals().size(), 2u);
    EXPECT_EQ(server->Arrivals()[0].bytes, "USER al\r\n");
    EXPECT_EQ(server->Arrivals()[1].bytes, "PASS two words\r\n");
}

TEST(SessionLock, CallbackLetsAHolderUseTheLibrary) {
    Screen screen;
    AccountRef<MailProfile> const profile = MakeProfile("p", "x", true);
    std::atomic<bool> held = false, asked = false;
    std::thread holder([&] {
        SessionLock const lock(*profile, SessionLock::kWorker);
        held = true;
        while (!asked)
            std::this_thread::yield();
        PtEnter(0); // would wait for ever if the callback kept the library
        PtLeave(0);
    });
    while (!held)
        std::this_thread::yield();
    EXPECT_FALSE(SessionLock::Try(*profile).Held());
    screen.RunCallback([&] {
        asked = true;
        SessionLock lock(*profile, SessionLock::kCallback);
        EXPECT_EQ(PtEnter(0), -EDEADLK); // the callback has the library again
        EXPECT_EQ(LockValue(*profile), 0);
        lock.Unlock();
        EXPECT_FALSE(lock.Held());
    });
    holder.join();
    EXPECT_TRUE(SessionLock::Try(*profile).Held());
    EXPECT_EQ(LockValue(*profile), 1);
}

} // namespace
