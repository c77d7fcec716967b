// Sending through a real SMTP server and fetching again from a real POP3 server; posting to a real news server.

#include "base/fd.h"
#include "base/paths.h"
#include "compose/references.h"
#include "fixtures/dovecot_server.h"
#include "fixtures/inn_server.h"
#include "fixtures/postfix_server.h"
#include "mime/base64.h"
#include "names/widgets.h"
#include "net/address.h"
#include "net/line_io.h"
#include "app/named_calls.h"
#include "protocol/send_fixture.h"
#include "store/folder.h"

#include <cstring>
#include <unistd.h>

namespace {

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
    WriteProfile(false, smtp.Address());
    std::string const content = "Every byte\0 of \xff it"; // with a terminator inside
    std::string encoded(200, 0);
    Base64Encode(encoded.data(), content.data(), static_cast<int32_t>(content.size()));
    Compose(false, "full@example.org, Alice <alice@example.org>",
            "One\n.\n.two\n" + std::string(40, 'w') + " and " + std::string(40, 'w') + " and the rest", "Round trip",
            "nobody@example.org, bob@example.org");
    AddPart("a.bin", "APPLICATION/OCTET-STREAM", encoded.c_str());
    ASSERT_TRUE(SendNow());
    EXPECT_TRUE(IsClosed());
    ASSERT_EQ(shownAlerts.size(), 2u);
    EXPECT_EQ(shownAlerts[0], "Error|552 5.2.2 <full@example.org>: Recipient address rejected: Mailbox full");
    EXPECT_TRUE(shownAlerts[1].starts_with("Error|550 5.1.1 <nobody@example.org>")) << shownAlerts[1];
    for (int i = 0; i < 3000 && (mailbox.Count("alice") < 1 || mailbox.Count("bob") < 1); i++)
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
    for (std::string const &command : {std::string("GROUP test.general"), "ARTICLE " + std::to_string(number)}) {
        WriteServerLine(socket.Get(), command.c_str());
        ReadServerLine(socket.Get(), line, sizeof line);
    }
    if (!std::string_view(line).starts_with("220"))
        return {};
    std::string text;
    while (ReadServerLine(socket.Get(), line, sizeof line) > 0 && strcmp(line, ".") != 0)
        text.append(line[0] == '.' ? line + 1 : line).append("\r\n");
    return text;
}

TEST_F(SendTest, PostedAndAnsweredOnARealServer) {
    InnServer const news;
    if (news.MayNotRun())
        GTEST_SKIP() << "the news server switches users, which takes root";
    ASSERT_GT(news.Port(), 0);
    WriteProfile(true, news.Address());
    // What an article with as many references as a header line may have gives an answer.
    std::string deep = "References:";
    for (int i = 0; i < 200; i++)
        deep += " <" + std::to_string(i) + "@example.org>\r\n";
    for (std::string const &answered : {std::string(), deep}) {
        Compose(true, "test.general ", "One\n.\n.two\n..three", "Threads", "", ReplyReferences(answered));
        ASSERT_TRUE(SendNow());
        EXPECT_TRUE(IsClosed());
        EXPECT_EQ(shownAlerts, Strings{});
        CloseWindow();
        std::string const article = Article(news, answered.empty() ? 1 : 2);
        EXPECT_EQ(UnfoldedField(article, "Newsgroups"), "test.general") << article;
        EXPECT_EQ(UnfoldedField(article, "From"), "ann@example.org");
        EXPECT_EQ(UnfoldedField(article, "References"), ReplyReferences(answered));
        EXPECT_TRUE(article.ends_with("\r\n\r\n\r\n\r\nOne\r\n.\r\n.two\r\n..three\r\n")) << article;
    }
    // Its words for a group that it does not have.
    Compose(true, "no.such.group", "text");
    ASSERT_TRUE(SendNow());
    EXPECT_EQ(shownAlerts, Strings{"Error|441 No valid newsgroups in \"no.such.group\""});
    EXPECT_TRUE(Editable());
}

} // namespace
