// Sending through a real SMTP server and fetching again from a real POP3 server; posting to a real news server.

#include "base/fd.h"
#include "base/paths.h"
#include "compose/references.h"
#include "fixtures/dovecot_server.h"
#include "fixtures/inn_server.h"
#include "fixtures/postfix_server.h"
#include "mime/base64.h"
#include "net/server.h"
#include "pop/check_mail.h"
#include "protocol/send_fixture.h"
#include "store/folder.h"
#include "ui/widgets.h"

#include <chrono>
#include <cstring>
#include <fstream>
#include <unistd.h>

namespace {

using Strings = std::vector<std::string>;

/// The text with CR LF as its line ends, as the mailbox server gives it out.
std::string WithLineEnds(std::string const &text) {
    std::string all;
    for (char const byte : text) {
        if (byte == '\n' && !all.ends_with('\r'))
            all += '\r';
        all += byte;
    }
    return all;
}

TEST_F(SendTest, ThroughPostfixAndBack) {
    if (geteuid() != 0)
        GTEST_SKIP() << "Postfix needs root";
    DovecotServer mailbox;
    ASSERT_GT(mailbox.Port(), 0);
    PostfixServer const smtp(mailbox.WorkDirectory() + "/mail",
                             {"--refuse", "full@example.org=552 5.2.2 Mailbox full"});
    ASSERT_GT(smtp.Port(), 0);
    WriteProfile(smtp.Address());
    std::string const content = "Every byte\0 of \xff it"; // with a terminator inside
    std::string encoded(200, 0);
    Base64Encode(encoded.data(), content.data(), static_cast<int32_t>(content.size()));
    Compose("full@example.org, Alice <alice@example.org>",
            "One\n.\n.two\n" + std::string(40, 'w') + " and " + std::string(40, 'w') + " and the rest", "Round trip",
            "nobody@example.org, bob@example.org");
    AddPart("a.bin", "APPLICATION/OCTET-STREAM", encoded.c_str());
    ASSERT_TRUE(SendNow());
    EXPECT_TRUE(WindowGone());
    ASSERT_EQ(shownAlerts.size(), 2u);
    EXPECT_EQ(shownAlerts[0], "Error|552 5.2.2 <full@example.org>: Recipient address rejected: Mailbox full");
    EXPECT_TRUE(shownAlerts[1].starts_with("Error|550 5.1.1 <nobody@example.org>")) << shownAlerts[1];
    for (int i = 0; i < 250 && (mailbox.Count("alice") < 1 || mailbox.Count("bob") < 1); i++)
        usleep(20'000);
    AccountRef<MailProfile> const profile = MakeProfile("away", mailbox.Address(), false);
    screen.AddProfile(*profile, true);
    int result = 0;
    screen.RunWorker([&] { result = CheckMailSession(*profile, ABW_treeMessageHeaders); });
    EXPECT_EQ(result, 1);
    std::string const received = FileText(InboxOf(*profile) + "1");
    ASSERT_EQ(Outbox().size(), 1u);
    // Above stand the fields of the servers' own; what was sent is as it was.
    std::string const copy = WithLineEnds(Outbox()[0]);
    EXPECT_TRUE(received.starts_with("Return-Path: <ann@example.org>\r\n")) << received.substr(0, 500);
    size_t const begin = received.find("Date: ");
    ASSERT_NE(begin, received.npos);
    EXPECT_EQ(received.substr(begin), copy + "\r\n");
    EXPECT_EQ(mailbox.Count("bob"), 1);
}

/// The article as the server gives it to readers, its dots single; empty when there is none.
std::string Article(InnServer const &news, int number) {
    Fd const socket(OpenServerConnection(news.Address().c_str(), kNntp, 1));
    char line[kReplyWidth];
    ReadServerLine(socket.Get(), line, sizeof line);
    for (char const *command : {"AUTHINFO USER alice", "AUTHINFO PASS secret", "GROUP test.general"}) {
        WriteServerLine(socket.Get(), command);
        ReadServerLine(socket.Get(), line, sizeof line);
    }
    WriteServerLine(socket.Get(), ("ARTICLE " + std::to_string(number)).c_str());
    ReadServerLine(socket.Get(), line, sizeof line);
    if (!std::string_view(line).starts_with("220"))
        return {};
    std::string text;
    while (ReadServerLine(socket.Get(), line, sizeof line) > 0 && strcmp(line, ".") != 0)
        text.append(line[0] == '.' ? line + 1 : line).append("\r\n");
    return text;
}

class NewsTest : public SendTest {
  protected:
    /// The login of the real server.
    void UseServer(InnServer const &news) {
        WriteNewsProfile(news.Address());
        std::string profile = FileText(ConfigRoot() + "news/home.dat");
        profile.replace(profile.find("\nann\n"), 5, "\nalice\n");
        std::ofstream(ConfigRoot() + "news/home.dat") << profile;
    }
    void PostAndForget(std::string const &groups, std::string const &text, std::string const &references = "") {
        ComposeArticle(groups, text, "Threads", references);
        ASSERT_TRUE(SendNow());
        EXPECT_TRUE(WindowGone());
        EXPECT_EQ(shownAlerts, Strings{});
        screen.RunCallback([&] { ReleaseCompose(std::exchange(state, nullptr)); });
    }
};

TEST_F(NewsTest, PostedAndAnsweredOnARealServer) {
    for (std::vector<std::string> const &access : {std::vector<std::string>{}, {"--access", "required"}}) {
        InnServer const news(access);
        if (news.MayNotRun())
            GTEST_SKIP() << "the news server switches users, which takes root";
        ASSERT_GT(news.Port(), 0);
        UseServer(news);
        PostAndForget("test.general ", "One\n.\n.two\n..three");
        std::string const root = Article(news, 1);
        EXPECT_NE(root.find("\r\nNewsgroups: test.general\r\n"), root.npos) << root;
        EXPECT_EQ(UnfoldedField(root, "From"), "ann@example.org");
        EXPECT_TRUE(root.ends_with("\r\n\r\n\r\n\r\nOne\r\n.\r\n.two\r\n..three\r\n")) << root;
        std::string const rootId = UnfoldedField(root, "Message-ID");
        ASSERT_FALSE(rootId.empty());

        PostAndForget(ReplyGroups(root), "Two", ReplyReferences(root));
        std::string const answer = Article(news, 2);
        EXPECT_EQ(UnfoldedField(answer, "References"), rootId) << answer;
        PostAndForget(ReplyGroups(answer), "Three", ReplyReferences(answer));
        std::string const third = Article(news, 3);
        EXPECT_EQ(UnfoldedField(third, "References"), rootId + " " + UnfoldedField(answer, "Message-ID"));

        // As long as a header line may be.
        std::string deep = "References:";
        for (int i = 0; i < 200; i++)
            deep += " <" + std::to_string(i) + "@example.org>\r\n";
        PostAndForget("test.general", "Four", ReplyReferences(deep));
        EXPECT_EQ(UnfoldedField(Article(news, 4), "References"), ReplyReferences(deep));
    }
}

TEST_F(NewsTest, RefusedByARealServerTheTextStays) {
    InnServer const news({"--access", "required", "--group", "test.general"});
    if (news.MayNotRun())
        GTEST_SKIP() << "the news server switches users, which takes root";
    ASSERT_GT(news.Port(), 0);
    UseServer(news);
    ComposeArticle("no.such.group", "text");
    ASSERT_TRUE(SendNow());
    EXPECT_EQ(shownAlerts, Strings{"Error|441 No valid newsgroups in \"no.such.group\""});
    EXPECT_TRUE(Editable());
    shownAlerts.clear();
    WriteNewsProfile(news.Address()); // whose login nobody knows
    ASSERT_TRUE(SendNow());
    EXPECT_EQ(shownAlerts, (Strings{"Error|481 Authentication failed", "Error|Could not authenticate to server"}));
    EXPECT_TRUE(Editable());
}

} // namespace
