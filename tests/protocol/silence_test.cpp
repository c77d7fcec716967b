// A server that falls silent: the real wait, once.

#include "fixtures/scripted_server.h"
#include "net/connection.h"
#include "news/session/article.h"
#include "pop/fetch.h"
#include "protocol/mail_fixture.h"
#include "protocol/news_account.h"

#include <gtest/gtest.h>
#include <thread>

namespace {

TEST(Silence, EndsADownload) {
    ScriptedServer newsServer(
        Script{Send("200 Hello\r\n"), Expect("ARTICLE 1"), Send("220 1 <a@b>\r\nFrom: a\r\n"), Stall()});
    AccountRef<NewsProfile> const news = MakeNewsProfile(newsServer.Address());
    FetchedArticle article;
    std::thread meanwhile([&] {
        EXPECT_TRUE(NewsSession(*news, {}).Connect());
        article = FetchArticle(*news, 1, {});
    });
    ScriptedServer server(Script{Expect("RETR 1"), Send("+OK 100 octets\r\nSubject: a\r\n"), Stall()});
    auto const stream = std::move(OpenStream(server.Address().c_str(), kPop3).stream);
    auto const start = std::chrono::steady_clock::now();
    EXPECT_EQ(Said(FetchMessage(*stream, 1).outcome), "lost Lost the connection to the mail server");
    auto const waited = std::chrono::steady_clock::now() - start;
    EXPECT_GE(waited, std::chrono::seconds(59));
    EXPECT_LT(waited, std::chrono::seconds(70));
    meanwhile.join();
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(80));
    EXPECT_EQ(news->serverSocket, -1);
    EXPECT_EQ(article.outcome.text, "Lost the connection to the news server");
}

} // namespace
