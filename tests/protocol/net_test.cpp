// Server addresses, connections, line I/O and the login.

#include "net/address.h"
#include "net/connection.h"
#include "net/session_lock.h"

#include "fixtures/process.h"
#include "fixtures/scripted_server.h"
#include "pop/dialogue.h"
#include "protocol/mail_fixture.h"

#include <csignal>
#include <cstdlib>
#include <dlfcn.h>
#include <fcntl.h>
#include <fstream>
#include <gtest/gtest.h>
#include <netdb.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

/// The resolver of the system, but for a name that takes until the test says so.
static std::atomic<bool> lookupsWait = false;
extern "C" int getaddrinfo(char const *name, char const *service, addrinfo const *hints, addrinfo **found) {
    using Function = int(char const *, char const *, addrinfo const *, addrinfo **);
    static auto *const next = reinterpret_cast<Function *>(dlsym(RTLD_NEXT, "getaddrinfo"));
    while (lookupsWait && !(hints->ai_flags & AI_NUMERICHOST))
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    return next(name, service, hints, found);
}

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

TEST(Stream, EndsClassicLinesAsTheyAlwaysDid) {
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
        Stream stream(PlainChannel(Fd(dup(pair.here))));
        std::string_view text;
        EXPECT_EQ(stream.ReadClassicLine(text, 19), one.consumed) << one.bytes;
        EXPECT_EQ(text, one.text);
        EXPECT_EQ(stream.ReadArrived(100), one.rest);
    }
}

TEST(Stream, GivesUpSilenceAndDripping) {
    for (bool const drips : {false, true}) {
        Pair pair;
        pair.Put("abc");
        Stream stream(PlainChannel(Fd(dup(pair.here))),
                      {.silence = std::chrono::seconds(drips ? 60 : 1), .dripping = std::chrono::seconds(2)});
        std::jthread const dripping([&](std::stop_token const &over) {
            for (; drips && !over.stop_requested(); std::this_thread::sleep_for(std::chrono::milliseconds(50)))
                pair.Put("d");
        });
        auto const start = std::chrono::steady_clock::now();
        std::string_view text;
        EXPECT_EQ(stream.ReadClassicLine(text, 3), -1);
        EXPECT_EQ(text, "abc");
        EXPECT_EQ(stream.State(), drips ? StreamState::kDripping : StreamState::kSilent);
        auto const waited = std::chrono::steady_clock::now() - start;
        EXPECT_GE(waited, std::chrono::milliseconds(drips ? 1900 : 900));
        EXPECT_LT(waited, std::chrono::seconds(10));
    }
}

TEST(Stream, DropsAnEndlessLineAndStaysInStep) {
    ScriptedServer server(Script{Flood("x", 2 << 20), Send("\r\n+OK next\r\n"), Flood("y", 40 << 20), Send("\r\n")});
    auto const stream = std::move(OpenStream(server.Address().c_str(), kPop3).stream);
    std::string_view line;
    EXPECT_GT(stream->ReadClassicLine(line, 99), 2 << 20);
    EXPECT_EQ(line, std::string(99, 'x'));
    EXPECT_EQ(stream->ReadClassicLine(line, 99), 10);
    EXPECT_EQ(line, "+OK next");
    EXPECT_EQ(stream->ReadClassicLine(line, 99), -1);
    EXPECT_EQ(stream->State(), StreamState::kTooLong);
}

TEST(Stream, SendsOneLineInOnePiece) {
    Pair pair(SOCK_SEQPACKET);
    Stream stream(PlainChannel(Fd(dup(pair.peer))));
    for (auto const &[text, sent] : {std::pair("NOOP", "NOOP\r\n"), std::pair("USER eve\r\nDELE 1", "USER eve\r\n"),
                                     std::pair("", "\r\n"), std::pair("%s%n", "%s%n\r\n")}) {
        EXPECT_EQ(stream.WriteLine(text), static_cast<int>(strlen(sent)));
        EXPECT_EQ(pair.Rest(), sent);
    }
    close(pair.here);
    pair.here = open("/dev/null", O_RDONLY);
    EXPECT_EQ(stream.WriteLine("QUIT"), -1); // and no SIGPIPE
}

class Connecting : public testing::Test {
  protected:
    void TearDown() override { unsetenv("http_proxy"); }

    /// Connects and closes again. What went to standard error is in `errors`.
    Outcome Connect(std::string const &server, int kind = kPop3, StopPredicate const &stopped = {}) {
        testing::internal::CaptureStderr();
        OpenedStream const opened = OpenStream(server.c_str(), kind, stopped);
        errors = testing::internal::GetCapturedStderr();
        EXPECT_EQ(static_cast<bool>(opened.stream), opened.outcome.ending == Ending::kDone);
        if (opened.stream) {
            int noDelay = 0;
            socklen_t size = sizeof noDelay;
            getsockopt(opened.stream->Descriptor(), IPPROTO_TCP, TCP_NODELAY, &noDelay, &size);
            EXPECT_TRUE(noDelay);
            EXPECT_TRUE(fcntl(opened.stream->Descriptor(), F_GETFD) & FD_CLOEXEC);
        }
        return opened.outcome;
    }

    std::string errors;
};

TEST_F(Connecting, TellsWhatFailed) {
    std::string const closed = ScriptedServer(Script{}).Address();
    std::string const unknown = "Host unknown, could not connect to mail server";
    struct {
        std::string server;
        int kind;
        std::string errors, text;
    } const cases[] = {
        {"255.255.255.255", kPop3, "Error: Unknown Host\n: ", unknown},
        {"127.0.0.1:0", kPop3, "Error: Unknown Host\n: ", unknown},
        {"127.0.0.1:65536", kPop3, "Error: Unknown Host\n: ", unknown},
        {":110", kPop3, "Error: Unknown Host\n: ", unknown},
        {"no.such.host.invalid", kPop3, "Error: Unknown Host\n: ", unknown},
        {"255.255.255.255:99", kSmtp, "Unknown host 255.255.255.255\n", unknown},
        {closed, kPop3, "pop: connect(): Connection refused\n", "Could not connect to mail server"},
        {closed, kSmtp, "pop: connect(): Connection refused\n", "Could not connect to mail server"},
        {closed, kNntp, "pop: connect(): Connection refused\n", "Could not connect to the news server"},
    };
    int const before = CountDescriptors();
    for (auto const &one : cases) {
        EXPECT_EQ(Said(Connect(one.server, one.kind)), "failed " + one.text) << one.server;
        EXPECT_TRUE(errors.starts_with(one.errors)) << errors;
        EXPECT_EQ(CountDescriptors(), before);
    }
}

TEST_F(Connecting, TriesEveryAddress) {
    ScriptedServer server({Script{}}, "127.0.0.2");
    std::ofstream(getenv("NSS_WRAPPER_HOSTS")) << "127.0.0.3 twofold\n127.0.0.2 twofold\n";
    EXPECT_TRUE(Connect("twofold:" + std::to_string(server.Port()))) << errors;
    EXPECT_EQ(errors, "");
}

TEST_F(Connecting, GoesThroughTheProxyVariable) {
    ScriptedServer proxy({Script{}, Script{}, Script{}});
    setenv("http_proxy", ("http://" + proxy.Address() + "/").c_str(), 1);
    for (int kind : {kPop3, kSmtp, kNntp})
        EXPECT_TRUE(Connect("255.255.255.255", kind)) << errors;
    EXPECT_EQ(proxy.Problems(), "");
    EXPECT_EQ(proxy.Received(), "");
}

TEST_F(Connecting, StopEndsTheLookupAndTheConnection) {
    int port = 0;
    Fd const full(ListenOn("127.0.0.1", port, 0));
    // A queue of one, which two connections fill.
    std::vector<OpenedSocket> filling;
    std::string const busy = "127.0.0.1:" + std::to_string(port);
    for (int i = 0; i < 2; i++) {
        auto const start = std::chrono::steady_clock::now();
        filling.push_back(OpenSocket(
            busy.c_str(), kPop3, [&] { return std::chrono::steady_clock::now() - start > std::chrono::seconds(1); }));
    }
    lookupsWait = true;
    for (std::string const &server : {busy, std::string("some.host.invalid")}) {
        auto const start = std::chrono::steady_clock::now();
        auto const soon = [&] { return std::chrono::steady_clock::now() - start > std::chrono::milliseconds(100); };
        EXPECT_EQ(Connect(server, kPop3, soon).ending, Ending::kStopped) << server;
        EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(1));
        EXPECT_EQ(errors, "");
    }
    lookupsWait = false;
}

TEST(Account, OwnsADescriptorThatWasSetByHand) {
    Pair pair;
    AccountRef<MailProfile> const profile(new MailProfile);
    EXPECT_EQ(StreamOf(*profile), nullptr);
    int const descriptors = CountDescriptors();
    profile->serverSocket = dup(pair.here);
    EXPECT_EQ(StreamOf(*profile)->Descriptor(), profile->serverSocket);
    CloseConnection(*profile, 0);
    EXPECT_EQ(profile->serverSocket, 0);
    EXPECT_EQ(CountDescriptors(), descriptors);
}

/// Logs in on a connection that plays the script, with the user's name in its second step.
std::string LogInTo(ScriptedServer &server, std::string const &user = "alice",
                    std::string const &password = "secret") {
    auto const stream = std::move(OpenStream(server.Address().c_str(), kPop3).stream);
    return Said(LogIn(*stream, user, password));
}

TEST(Login, TakesAGreetingHoweverItArrives) {
    for (auto const &[greeting, piece] : {std::pair<std::string, size_t>{"+OK Dovecot ready.\r\n", 1},
                                          {"+OK M\xc3\xbcller's\tserver \x80\x81\r\n", 3},
                                          {"\n", 0},
                                          {"-ERR go away " + std::string(12000, '.') + "\r\n", 0}}) {
        ScriptedServer server(Script{Send(greeting, piece), Expect("USER alice"), Send("+ok \r\n"),
                                     Expect("PASS secret"), Send("+Ok\r\n")});
        EXPECT_EQ(LogInTo(server), "done");
        EXPECT_EQ(server.Problems(), "");
    }
    ScriptedServer endless(Script{Send(std::string(40 << 20, 'x') + "\r\n")});
    EXPECT_EQ(LogInTo(endless), "lost Lost the connection to the mail server");
}

TEST(Login, SendsEachCommandOnceAndWhole) {
    ScriptedServer server(
        Script{Send("+OK\r\n"), Expect("USER al"), Send("+OK\r\n"), Expect("PASS two words"), Send("+OK\r\n")});
    EXPECT_EQ(LogInTo(server, "al\r\nDELE 1", "two words\nQUIT"), "done");
    EXPECT_EQ(server.Problems(), "");
    ASSERT_EQ(server.Arrivals().size(), 2u);
    EXPECT_EQ(server.Arrivals()[0].bytes, "USER al\r\n");
    EXPECT_EQ(server.Arrivals()[1].bytes, "PASS two words\r\n");
}

} // namespace
