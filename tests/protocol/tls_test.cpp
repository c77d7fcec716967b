// Connections through TLS, against real servers with certificates that are good or wrong in one way, and against a
// peer that does what no real one would.

#include "fixtures/certificates.h"
#include "fixtures/dovecot_server.h"
#include "fixtures/postfix_server.h"
#include "fixtures/tls_peer.h"
#include "net/connection.h"
#include "net/security.h"
#include "net/tls/tls.h"

#include <csignal>
#include <gtest/gtest.h>

namespace {

constexpr int kWidth = 1000;

class Tls : public testing::Test {
  protected:
    static void SetUpTestSuite() {
        signal(SIGPIPE, SIG_IGN);
        CertificateFile("good");
    }
    void TearDown() override { SetAcceptedFingerprint({}); }

    static std::string Text(std::string const &scheme, int port) {
        return scheme + "://localhost:" + std::to_string(port);
    }
    static OpenedStream Open(std::string const &text, int kind = kPop3) { return OpenStream(text.c_str(), kind); }

    static std::string Line(Stream &stream) {
        std::string_view line;
        return stream.ReadLine(line, kWidth) ? std::string(line) : "(none)";
    }
};

TEST_F(Tls, GoodCertificatePassesAtOnceAndAfterStartTls) {
    DovecotServer pop({"--certificate", CertificateFile("good")});
    PostfixServer smtp(pop.WorkDirectory() + "/mail", {"--certificate", CertificateFile("good")});
    struct {
        std::string text;
        int kind;
        std::string command, reply;
    } const cases[] = {{Text("pops", pop.TlsPort()), kPop3, "CAPA", "+OK"},
                       {Text("pop+starttls", pop.Port()), kPop3, "CAPA", "+OK"},
                       {Text("smtps", smtp.TlsPort()), kSmtp, "HELO me", "250 mail.example.org"},
                       {Text("smtp+starttls", smtp.Port()), kSmtp, "HELO me", "250 mail.example.org"}};
    for (auto const &wanted : cases)
        for (int again = 0; again < 2; again++) { // the second time with a ticket
            SCOPED_TRACE(wanted.text);
            OpenedStream opened = Open(wanted.text, wanted.kind);
            ASSERT_TRUE(opened.outcome) << opened.outcome.text;
            EXPECT_TRUE(IsSecured(*opened.stream));
            ChannelBinding const binding = ChannelBindingOf(*opened.stream);
            EXPECT_EQ(binding.exporter.size(), 32u);
            EXPECT_TRUE(Line(*opened.stream).starts_with(wanted.kind == kPop3 ? "+OK" : "220"));
            opened.stream->WriteLine(wanted.command);
            EXPECT_EQ(Line(*opened.stream), wanted.reply);
        }
}

TEST_F(Tls, WrongCertificatesAreSaidInWordsAndAcceptedByHand) {
    struct {
        char const *certificate;
        std::vector<std::string> reasons;
    } const cases[] = {
        {"expired", {"The certificate expired on "}},
        {"other", {"The certificate is for another name (mail.example.org, pop.example.org), not for localhost."}},
        {"unknown", {"The issuer of the certificate is unknown (Private authority stranger)."}},
        {"self", {"The certificate is signed by itself, no authority vouches for it."}}};
    for (auto const &wanted : cases) {
        SCOPED_TRACE(wanted.certificate);
        DovecotServer server({"--certificate", CertificateFile(wanted.certificate)});
        std::string const text = Text("pops", server.TlsPort());
        OpenedStream const refused = Open(text);
        EXPECT_EQ(refused.outcome.ending, Ending::kFailed);
        ASSERT_TRUE(refused.outcome.certificate);
        CertificateProblem const problem = *refused.outcome.certificate;
        ASSERT_GE(problem.reasons.size(), 1u);
        EXPECT_TRUE(problem.reasons[0].starts_with(wanted.reasons[0])) << problem.reasons[0];
        EXPECT_EQ(problem.fingerprint.size(), 95u);
        EXPECT_EQ(problem.port, server.TlsPort());
        EXPECT_FALSE(problem.changed);
        SetAcceptedFingerprint([&](std::string const &host, int port) {
            return host == problem.host && port == problem.port ? problem.fingerprint : std::string();
        });
        EXPECT_TRUE(Open(text).outcome);
        // Another port is another server.
        EXPECT_FALSE(Open(Text("pop+starttls", server.Port())).outcome);
        SetAcceptedFingerprint([](std::string const &, int) { return "00:11"; });
        OpenedStream const changed = Open(text);
        ASSERT_TRUE(changed.outcome.certificate);
        EXPECT_TRUE(changed.outcome.certificate->changed);
        SetAcceptedFingerprint({});
    }
}

TEST_F(Tls, AServerWithoutStartTlsGetsNoLogin) {
    DovecotServer pop;
    OpenedStream const opened = Open(Text("pop+starttls", pop.Port()));
    EXPECT_EQ(opened.outcome.text,
              "localhost does not offer an encrypted connection on this port. Nothing was sent.");
    PostfixServer smtp(pop.WorkDirectory() + "/mail");
    EXPECT_EQ(Open(Text("smtp+starttls", smtp.Port()), kSmtp).outcome.text,
              "localhost does not offer an encrypted connection on this port. Nothing was sent.");
}

TEST_F(Tls, WhatCameBeforeTheHandshakeIsThrownAway) {
    TlsPeer peer({.before = "+OK hello\r\n",
                  .expect = "STLS",
                  .together = "+OK start\r\n+OK injected\r\n+OK injected too\r\n",
                  .after = "+OK true\r\n",
                  .certificate = CertificateFile("good")});
    {
        OpenedStream opened = Open(Text("pop+starttls", peer.Port()));
        // The bytes that came too early are no TLS either way: dropped, or the end of the attempt; never a reply.
        if (opened.outcome) {
            EXPECT_EQ(Line(*opened.stream), "+OK");
            opened.stream->WriteLine("NOOP");
            EXPECT_EQ(Line(*opened.stream), "+OK true");
        }
    }
    EXPECT_EQ(peer.Received().find("PASS"), std::string::npos);
}

TEST_F(Tls, AnOldProtocolAndACutRecordFail) {
    TlsPeer old({.handshake = true, .oldProtocol = true, .certificate = CertificateFile("good")});
    OpenedStream const refused = Open(Text("pops", old.Port()));
    EXPECT_FALSE(refused.outcome);
    EXPECT_FALSE(refused.outcome.certificate);
    EXPECT_NE(refused.outcome.text.find("localhost"), std::string::npos) << refused.outcome.text;

    TlsPeer cutting({.after = "+OK a line that never ends\r\n", .cut = true, .certificate = CertificateFile("good")});
    OpenedStream cut = Open(Text("pops", cutting.Port()));
    ASSERT_TRUE(cut.outcome) << cut.outcome.text;
    EXPECT_EQ(Line(*cut.stream), "(none)");
    EXPECT_EQ(cut.stream->State(), StreamState::kFailed);
}

TEST_F(Tls, AStalledHandshakeIsStopped) {
    for (char const *scheme : {"pops", "pop+starttls"}) {
        SCOPED_TRACE(scheme);
        bool const starttls = std::string_view(scheme) != "pops";
        TlsPeer peer({.before = starttls ? "+OK\r\n" : "",
                      .expect = starttls ? "STLS" : "",
                      .together = starttls ? "+OK\r\n" : "",
                      .handshake = false});
        auto const start = std::chrono::steady_clock::now();
        OpenedStream const opened = OpenStream(Text(scheme, peer.Port()).c_str(), kPop3, [&] {
            return std::chrono::steady_clock::now() - start > std::chrono::milliseconds(300);
        });
        EXPECT_EQ(opened.outcome.ending, Ending::kStopped);
        EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(5));
    }
}

TEST(Security, WhatAServersTextMeans) {
    struct {
        char const *text;
        int kind;
        Security security;
        char const *host;
        int port;
    } const cases[] = {{"pop.example.org", kPop3, Security::kPlain, "pop.example.org", 110},
                       {"pop://h:1110/x", kPop3, Security::kPlain, "h", 1110},
                       {"POPS://h/", kPop3, Security::kTls, "h", 995},
                       {"pop+starttls://h", kPop3, Security::kStartTls, "h", 110},
                       {"smtps://[2001:db8::1]", kSmtp, Security::kTls, "2001:db8::1", 465},
                       {"smtp+starttls://[::1]:2587", kSmtp, Security::kStartTls, "::1", 2587},
                       {"nntps://news", kNntp, Security::kTls, "news", 563},
                       {"smtps://h", kPop3, Security::kPlain, "h", 110}};
    for (auto const &wanted : cases) {
        SCOPED_TRACE(wanted.text);
        ServerMeaning const meaning = MeaningOf(wanted.text, wanted.kind);
        EXPECT_EQ(meaning.security, wanted.security);
        EXPECT_EQ(meaning.host, wanted.host);
        EXPECT_EQ(meaning.port, wanted.port);
    }
    EXPECT_EQ(WithSecurity("h:1", Security::kTls, kSmtp), "smtps://h:1");
    EXPECT_EQ(WithSecurity("smtps://h:1", Security::kStartTls, kSmtp), "smtp+starttls://h:1");
    EXPECT_EQ(WithSecurity("pops://h", Security::kPlain, kPop3), "h");
    EXPECT_EQ(WithSecurity("odd://h", Security::kPlain, kPop3), "odd://h");
    EXPECT_TRUE(IsLoopback("127.0.0.9") && IsLoopback("localhost") && IsLoopback("::1"));
    EXPECT_FALSE(IsLoopback("127.0.0.1.example.org"));
}

} // namespace
