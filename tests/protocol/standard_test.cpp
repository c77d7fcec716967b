// The standard way of sending and receiving, against real servers.

#include "base/paths.h"
#include "base/text.h"
#include "compose/send/standard/standard_send.h"
#include "compose/send/standard/text_part.h"
#include "fixtures/certificates.h"
#include "fixtures/dovecot_server.h"
#include "fixtures/postfix_server.h"
#include "fixtures/temp_home.h"
#include "pop/standard/receive.h"
#include "profiles/mail_profile_file.h"
#include "secrets/secret.h"
#include "state/waiting.h"
#include "store/folder.h"
#include "unit/scratch.h"

#include <csignal>
#include <cstring>
#include <gtest/gtest.h>
#include <thread>

namespace fs = std::filesystem;

namespace {

constexpr char kMechanisms[] = "plain login cram-md5 scram-sha-1 scram-sha-256 oauthbearer xoauth2";
constexpr char kTokenKey[] = "a key of the test's own";

/// A command that prints an access token for alice, signed with the server's key.
std::string TokenCommand() {
    std::string const script = TempHome() + "/token.py";
    WriteFile(script, std::string(R"(import base64, hashlib, hmac, json, time
b = lambda x: base64.urlsafe_b64encode(x).rstrip(b"=")
head = b(json.dumps({"alg": "HS256", "typ": "JWT"}).encode())
body = b(json.dumps({"sub": "alice", "iat": int(time.time()) - 9, "exp": int(time.time()) + 999}).encode())
print((head + b"." + body + b"." + b(hmac.new(b")") +
                          kTokenKey + R"(", head + b"." + body, hashlib.sha256).digest())).decode())
)");
    return "token:env -u LD_PRELOAD python3 " + script; // without what the test itself has loaded
}

struct Sink : ReceiveSink {
    void Progress(ReceiveProgress const &) override {}
    void Stored(int32_t, std::string_view text) override { texts.emplace_back(text); }
    std::vector<std::string> texts;
};

class Standard : public testing::Test {
  protected:
    static void SetUpTestSuite() {
        signal(SIGPIPE, SIG_IGN);
        CertificateFile("good");
    }

    void SetUp() override {
        ClearTempHome();
        fs::create_directories(ConfigRoot() + "home");
        for (char const *folder : {kInbox, kOutbox})
            CreateFolder(FolderDirectory("home", folder).c_str());
    }

    void WriteAccount(std::string const &smtp, std::string const &password = "secret") {
        AccountRef<MailProfile> const profile(new MailProfile);
        CopyText(profile->name, "home");
        CopyText(profile->popServer, "localhost");
        CopyText(profile->smtpServer, smtp);
        CopyText(profile->userName, "alice");
        CopyText(profile->password, password);
        CopyText(profile->fullName, "Zo\xc3\xab \"Z\" O'Brien, Dr.");
        CopyText(profile->emailAddress, "alice@example.org");
        CopyText(profile->checkInterval, "300");
        CopyText(profile->leaveOnServer, "LEAVEONSERVER");
        CopyText(profile->signatureFile, "/nonexistent");
        ASSERT_TRUE(WriteMailProfile(ConfigRoot(), *profile));
    }

    Draft Letter(std::string const &to) const {
        Draft draft;
        draft.profile = "home";
        draft.to = to;
        draft.subject =
            "Gr\xc3\xbc\xc3\x9f"
            "e \xe2\x80\x93 "
            "\xe6\x97\xa5\xe6\x9c\xac\xe8\xaa\x9e\xe3\x81\xae\xe4\xbb\xb6\xe5\x90\x8d, and a subject that has "
            "to be folded because it is that long";
        draft.text = "Hello,\n.\n..two\nFrom here\n> quoted\n\xc3\xa4\xc3\xb6\xc3\xbc " + std::string(200, 'w') +
                     " " + std::string(3000, 'x') + "\n";
        return draft;
    }

    /// An attachment, encoded as the compose window does in the standard way.
    void Attach(Draft &draft, std::string const &name, std::string const &bytes) {
        auto part = std::make_unique<PartHeaders>();
        *part = {};
        CopyText(part->name, name);
        CopyText(part->contentType, "image/png");
        bodies.push_back(std::make_unique<std::string>(Encoded(bytes, TransferEncoding::kBase64)));
        part->body = bodies.back()->c_str();
        part->bodyLength = static_cast<int32_t>(bodies.back()->size());
        draft.parts.push_back(part.get());
        parts.push_back(std::move(part));
        WriteFile(expected.Path() + std::to_string(draft.parts.size() - 1), bytes);
    }

    SendResult SendIt(Draft const &draft) {
        Outcome const checked = StandardCheck(draft);
        EXPECT_TRUE(checked) << checked.text;
        return StandardSend(draft, progress);
    }

    static std::vector<std::string> Rows(char const *folder) {
        std::vector<std::string> rows;
        ReadFolderIndex(FolderDirectory("home", folder).c_str(),
                        [&](IndexRecord const &record) { rows.emplace_back(FieldText(record.row, kRowWidth)); });
        return rows;
    }

    /// The only message of a folder.
    static std::string Text(char const *folder) {
        std::string text;
        ReadFolderIndex(FolderDirectory("home", folder).c_str(), [&](IndexRecord const &record) {
            text = ReadFile(FolderDirectory("home", folder) + std::to_string(record.number));
        });
        return text;
    }

    /// Python's own parser finds no defect, and each attachment as it was.
    void ExpectSound(std::string const &message) {
        WriteFile(expected.Path() + "message", message);
        EXPECT_EQ(RunProgram({"python3", "-c", R"(
import email, email.policy, sys
raw = open(sys.argv[1] + 'message', 'rb').read()
plain = raw.replace(b'\r\n', b'')
assert b'\r' not in plain and b'\n' not in plain, 'a bare line end'
assert max(map(len, raw.split(b'\r\n'))) <= 998
message = email.message_from_bytes(raw, policy=email.policy.default)
for part in message.walk():
    assert not part.defects, part.defects
    for name, value in part.items():
        assert not getattr(value, 'defects', ()), (name, value.defects)
for number, part in enumerate(message.iter_attachments()):
    want = open(sys.argv[1] + str(number), 'rb').read()
    assert part.get_payload(decode=True) == want, number
)",
                              expected.Path()}),
                  0);
    }

    std::string told;
    SendProgress const progress{.percent = [](int) {},
                                .tell = [this](std::string const &text) { told += text; },
                                .stopped = [] { return false; }};
    Scratch expected;
    std::vector<std::unique_ptr<std::string>> bodies;
    std::vector<std::unique_ptr<PartHeaders>> parts;
};

/// What the mailbox of a user holds, waited for; without the fields that the servers put in front.
std::string Delivered(DovecotServer const &server, std::string const &user) {
    for (int i = 0; i < 3000 && server.Count(user) < 1; i++)
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    for (auto const &entry : fs::directory_iterator(server.WorkDirectory() + "/mail/" + user + "/new")) {
        std::string const text = ReadFile(entry.path());
        return text.substr(std::min(text.find("\nDate: ") + 1, text.size()));
    }
    return "(none)";
}

std::string WithoutCr(std::string text) {
    std::erase(text, '\r');
    return text;
}

TEST_F(Standard, WhatGoesOutIsSoundAndSentIsWhatWent) {
    if (geteuid() != 0)
        GTEST_SKIP() << "Postfix needs root";
    for (char const *discard : {"", "8bitmime, pipelining, size"}) {
        SCOPED_TRACE(discard);
        SetUp();
        parts.clear();
        DovecotServer pop({"--certificate", CertificateFile("good"), "--mechanisms", kMechanisms});
        PostfixServer smtp(pop.WorkDirectory() + "/mail", {"--certificate", CertificateFile("good"), "--auth",
                                                           pop.WorkDirectory() + "/auth", "--discard", discard});
        WriteAccount((*discard ? "smtp+starttls://localhost:" : "smtps://localhost:") +
                     std::to_string(*discard ? smtp.Port() : smtp.TlsPort()));
        Draft draft = Letter("\"O'Brien, Pat\" <alice@example.org>");
        draft.bcc = "Secret <bob@example.org>";
        draft.references = "<a@example.org> <b@example.org>";
        for (size_t size : {0, 1, 2, 3, 56, 57, 58, 100'001})
            Attach(draft, size % 2 ? "\xe6\x97\xa5\xe6\x9c\xac \"x\".png" : "a; b.png", std::string(size, '\xa5'));
        SendResult const result = SendIt(draft);
        ASSERT_TRUE(result.outcome) << result.outcome.text;
        std::string const sent = Text(kSent);
        ExpectSound(sent);
        EXPECT_EQ(sent.find("bob"), std::string::npos);
        EXPECT_EQ(sent.find("Content-Transfer-Encoding: 8bit") == std::string::npos, *discard != 0);
        EXPECT_NE(sent.find("In-Reply-To: <b@example.org>"), std::string::npos);
        EXPECT_TRUE(Rows(kOutbox).empty());
        EXPECT_TRUE(WaitingMessages("home").empty());
        for (char const *user : {"alice", "bob"})
            EXPECT_EQ(WithoutCr(Delivered(pop, user)), WithoutCr(sent)) << user;
    }
}

TEST_F(Standard, WhoIsRefusedIsToldAndWhatDidNotGoWaits) {
    if (geteuid() != 0)
        GTEST_SKIP() << "Postfix needs root";
    DovecotServer pop;
    PostfixServer smtp(pop.WorkDirectory() + "/mail", {"--refuse", "full@example.org=552 5.2.2 Mailbox full"});
    WriteAccount(smtp.Address());
    EXPECT_TRUE(SendIt(Letter("full@example.org, alice@example.org")).outcome);
    EXPECT_EQ(told,
              "The message went, but not to:\nfull@example.org: 552 5.2.2 <full@example.org>: Recipient address "
              "rejected: Mailbox full");
    EXPECT_EQ(Rows(kSent).size(), 1u);
    EXPECT_NE(Delivered(pop, "alice"), "(none)");

    SendResult const refused = SendIt(Letter("full@example.org"));
    EXPECT_EQ(refused.outcome.ending, Ending::kRefused);
    EXPECT_TRUE(refused.textIsSafe);
    EXPECT_EQ(refused.status, "The message waits in the Outbox");
    ASSERT_EQ(Rows(kOutbox).size(), 1u);
    EXPECT_TRUE(Rows(kOutbox)[0].starts_with(" \t [No recipient was taken.]")) << Rows(kOutbox)[0];

    smtp.Stop();
    EXPECT_FALSE(SendIt(Letter("bob@example.org")).outcome);
    EXPECT_EQ(WaitingMessages("home").size(), 2u);
    EXPECT_EQ(SendWaiting("home", progress).sent, 0);
    ASSERT_TRUE(smtp.Start());
    NoteWaiting("home", {99, WaitingState::kSending, ""}); // killed on its way: nobody sends it twice
    WaitingResult const again = SendWaiting("home", progress);
    EXPECT_EQ(again.sent, 1) << again.problem;
    EXPECT_EQ(again.left, 2);
    EXPECT_NE(Delivered(pop, "bob"), "(none)");
    EXPECT_EQ(Rows(kSent).size(), 2u);

    Draft draft = Letter("plain, alice@example.org");
    EXPECT_EQ(StandardCheck(draft).text, "\"plain\" is not a mail address. Nothing was sent.");
    draft.to = " , ";
    EXPECT_EQ(StandardCheck(draft).text, "Enter whom the message goes to.");
}

TEST_F(Standard, EveryMechanismSignsInOnBothSides) {
    bool const root = geteuid() == 0;
    for (std::string const mechanism :
         {"plain", "login", "cram-md5", "scram-sha-1", "scram-sha-256", "oauthbearer", "xoauth2", "anonymous"}) {
        SCOPED_TRACE(mechanism);
        SetUp();
        bool const token = mechanism.ends_with("bearer") || mechanism == "xoauth2";
        DovecotServer pop(
            {"--certificate", CertificateFile("good"), "--mechanisms", mechanism, "--token-key", kTokenKey});
        pop.Put("alice", "Subject: hello\r\n\r\n");
        std::string secret = "secret";
        if (token) {
            WriteAccount("", TokenCommand());
            AccountRef<MailProfile> const profile(new MailProfile);
            CopyText(profile->password, TokenCommand());
            Secret found;
            ASSERT_TRUE(FindSecretOf(*profile, found));
            secret = found.text;
        }
        ReceiveRequest request{.profile = "home",
                               .inbox = FolderDirectory("home", kInbox),
                               .server = "pops://localhost:" + std::to_string(pop.TlsPort()),
                               .who = {"alice", secret, token}};
        Sink sink;
        ReceiveResult const good = ReceiveMail(request, sink, {});
        if (mechanism == "anonymous") { // none in common: USER and PASS are left, which the server refuses
            EXPECT_TRUE(good.signInRefused) << good.outcome.text;
            continue;
        }
        EXPECT_TRUE(good.outcome) << good.outcome.text;
        EXPECT_EQ(sink.texts, std::vector<std::string>{"Subject: hello\r\n\r\n"});
        request.who.secret = "wrong";
        ReceiveResult const wrong = ReceiveMail(request, sink, {});
        EXPECT_FALSE(wrong.outcome);
        EXPECT_TRUE(wrong.signInRefused) << wrong.outcome.text;
        if (!root)
            continue;
        PostfixServer smtp(pop.WorkDirectory() + "/mail",
                           {"--certificate", CertificateFile("good"), "--auth", pop.WorkDirectory() + "/auth"});
        WriteAccount("smtps://localhost:" + std::to_string(smtp.TlsPort()), token ? TokenCommand() : "secret");
        SendResult const sent = SendIt(Letter("bob@example.org"));
        EXPECT_TRUE(sent.outcome) << sent.outcome.text;
        if (!token) {
            WriteAccount("smtps://localhost:" + std::to_string(smtp.TlsPort()), "wrong");
            EXPECT_TRUE(SendIt(Letter("bob@example.org"))
                            .outcome.text.starts_with("localhost did not take the user name or the password.\n535"));
        }
    }
}

} // namespace
